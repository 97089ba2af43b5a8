#include "task_queue.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <cstdint>

namespace vexorcef {

WakeableTaskQueue::WakeableTaskQueue() : fd_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

WakeableTaskQueue::~WakeableTaskQueue() {
  if (fd_ >= 0) close(fd_);
}

void WakeableTaskQueue::Post(std::function<void()> task) {
  {
    std::lock_guard<std::mutex> lock(mutex_);
    tasks_.push_back(std::move(task));
  }
  Wake();
}

void WakeableTaskQueue::Wake() {
  uint64_t one = 1;
  if (fd_ >= 0) (void)!write(fd_, &one, sizeof one);
}

void WakeableTaskQueue::RunAll() {
  uint64_t count;
  (void)!read(fd_, &count, sizeof count);
  while (true) {
    std::function<void()> task;
    {
      std::lock_guard<std::mutex> lock(mutex_);
      if (tasks_.empty()) return;
      task = std::move(tasks_.front());
      tasks_.pop_front();
    }
    task();
  }
}

}  // namespace vexorcef
