#ifndef VEXOR_CEF_SRC_UI_WORK_QUEUE_H_
#define VEXOR_CEF_SRC_UI_WORK_QUEUE_H_

#include <atomic>
#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <mutex>
#include <optional>
#include <vector>

namespace vexorcef {

// The work other threads hand the UI thread: tasks for its next turn and tasks due later.
// Whoever pumps the UI thread is asked to come only when there is something to run: at once
// for a task, at the due time for a timer. An idle engine asks for nothing, so its host
// need not poll it.
class UiWorkQueue {
 public:
  using Clock = std::chrono::steady_clock;
  // Asks for a pump in delay_ms (0: at once). Called on the posting thread, outside the lock.
  using PumpRequest = std::function<void(int64_t delay_ms)>;

  explicit UiWorkQueue(std::function<Clock::time_point()> now = Clock::now);

  // Before anything is posted.
  void SetPumpRequest(PumpRequest request) { request_ = std::move(request); }
  void Post(std::function<void()> task);
  void PostDelayed(int delay_ms, std::function<void()> task);
  // Everything to run now, in order: the posted tasks, then the timers that are due.
  std::deque<std::function<void()>> TakeDue();

 private:
  struct Timer {
    Clock::time_point due;
    std::function<void()> task;
  };
  // The delay to ask a pump for, when none is asked for by then yet. Under the lock.
  std::optional<int64_t> AskForPumpAt(Clock::time_point due, Clock::time_point now);
  void Request(std::optional<int64_t> delay_ms) const;

  const std::function<Clock::time_point()> now_;
  PumpRequest request_;
  std::mutex mutex_;
  std::deque<std::function<void()>> tasks_;
  std::vector<Timer> timers_;
  // The earliest pump asked for that has not come yet.
  std::optional<Clock::time_point> pump_asked_for_;
  // Lets an empty queue answer without its lock.
  std::atomic<bool> has_work_{false};
};

}  // namespace vexorcef

#endif
