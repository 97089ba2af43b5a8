#ifndef VEXOR_CEF_SRC_TASK_QUEUE_H_
#define VEXOR_CEF_SRC_TASK_QUEUE_H_

#include <deque>
#include <functional>
#include <mutex>

namespace vexorcef {

// Work handed to a thread that sleeps in poll(): Post() from any thread wakes it through
// fd(); that thread then calls RunAll().
class WakeableTaskQueue {
 public:
  WakeableTaskQueue();
  ~WakeableTaskQueue();
  WakeableTaskQueue(const WakeableTaskQueue&) = delete;
  WakeableTaskQueue& operator=(const WakeableTaskQueue&) = delete;

  int fd() const { return fd_; }
  void Post(std::function<void()> task);
  void Wake();
  // Clears the wake-up and runs tasks until none is left, those posted meanwhile included.
  void RunAll();

 private:
  int fd_ = -1;
  std::mutex mutex_;
  std::deque<std::function<void()>> tasks_;
};

}  // namespace vexorcef

#endif
