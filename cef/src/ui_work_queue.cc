#include "ui_work_queue.h"

#include <algorithm>

namespace vexorcef {

UiWorkQueue::UiWorkQueue(std::function<Clock::time_point()> now) : now_(std::move(now)) {}

std::optional<int64_t> UiWorkQueue::AskForPumpAt(Clock::time_point due, Clock::time_point now) {
  if (pump_asked_for_ && *pump_asked_for_ <= due) return std::nullopt;
  pump_asked_for_ = due;
  // Rounded up: a pump that comes before the due time finds nothing to run.
  auto delay = std::chrono::ceil<std::chrono::milliseconds>(due - now).count();
  return std::max<int64_t>(0, delay);
}

void UiWorkQueue::Request(std::optional<int64_t> delay_ms) const {
  if (delay_ms && request_) request_(*delay_ms);
}

void UiWorkQueue::Post(std::function<void()> task) {
  std::optional<int64_t> ask;
  {
    std::lock_guard<std::mutex> lock(mutex_);
    tasks_.push_back(std::move(task));
    has_work_.store(true, std::memory_order_release);
    const Clock::time_point now = now_();
    ask = AskForPumpAt(now, now);
  }
  Request(ask);
}

void UiWorkQueue::PostDelayed(int delay_ms, std::function<void()> task) {
  std::optional<int64_t> ask;
  {
    std::lock_guard<std::mutex> lock(mutex_);
    const Clock::time_point now = now_();
    const Clock::time_point due = now + std::chrono::milliseconds(delay_ms);
    timers_.push_back(Timer{due, std::move(task)});
    has_work_.store(true, std::memory_order_release);
    ask = AskForPumpAt(due, now);
  }
  Request(ask);
}

std::deque<std::function<void()>> UiWorkQueue::TakeDue() {
  std::deque<std::function<void()>> due;
  if (!has_work_.load(std::memory_order_acquire)) return due;
  std::optional<int64_t> ask;
  {
    std::lock_guard<std::mutex> lock(mutex_);
    const Clock::time_point now = now_();
    // The pump asked for has come (or an earlier one did its work).
    if (pump_asked_for_ && *pump_asked_for_ <= now) pump_asked_for_.reset();
    due.swap(tasks_);
    auto later = std::stable_partition(timers_.begin(), timers_.end(),
                                       [now](const Timer& t) { return t.due > now; });
    for (auto it = later; it != timers_.end(); ++it) due.push_back(std::move(it->task));
    timers_.erase(later, timers_.end());
    if (!timers_.empty()) {
      auto next = std::min_element(timers_.begin(), timers_.end(),
                                   [](const Timer& a, const Timer& b) { return a.due < b.due; });
      ask = AskForPumpAt(next->due, now);
    }
    has_work_.store(!timers_.empty(), std::memory_order_release);
  }
  Request(ask);
  return due;
}

}  // namespace vexorcef
