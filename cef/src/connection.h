// The DevTools pipe to one Chromium process and the I/O thread that reads it.
#ifndef VEXOR_CEF_SRC_CONNECTION_H_
#define VEXOR_CEF_SRC_CONNECTION_H_

#include <sys/types.h>

#include <cstdio>

#include <atomic>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "json.h"
#include "task_queue.h"

namespace vexorcef {

class Connection {
 public:
  // result is the command's result; error is non-null when it failed (also when Chromium
  // died or the session crashed before answering).
  using Callback = std::function<void(const Json& result, const Json& error)>;
  using EventSink =
      std::function<void(const std::string& method, Json params, const std::string& session)>;

  Connection();
  ~Connection();

  // Spawns program with args, fds 3 and 4 being the pipe. False with *error set on failure.
  // extra_env entries ("NAME=value") replace or add to the inherited environment.
  bool Launch(const std::string& program, const std::vector<std::string>& args,
              const std::vector<std::string>& extra_env, std::string* error);
  // Starts the I/O thread; events go to sink on that thread, death is reported once.
  void Start(EventSink sink, std::function<void(int wait_status)> on_death);

  // Thread-safe and never blocks: the I/O thread writes. The callback runs on the I/O
  // thread; callers hop threads themselves.
  int Send(const std::string& method, Json params, const std::string& session = std::string(),
           Callback cb = Callback());
  // Blocks up to timeout_ms for the answer; false on timeout or error.
  bool SendSync(const std::string& method, Json params, int timeout_ms, Json* result,
                std::string* error);
  // Runs task on the I/O thread.
  void PostIo(std::function<void()> task);
  // Fails every command still waiting on session (its target crashed).
  void FailSession(const std::string& session, const std::string& why);

  bool alive() const { return alive_.load(); }
  pid_t pid() const { return pid_; }
  bool OnIoThread() const { return std::this_thread::get_id() == io_thread_.get_id(); }

  // Asks Chromium to quit, waits up to timeout_ms, then kills it; joins the I/O thread.
  void Shutdown(int timeout_ms);

 private:
  void IoLoop();
  // I/O thread: writes what the pipe takes now.
  void Flush();
  // Chromium no longer takes commands: it is ended, and the read side reports the death.
  void GiveUp(const char* why);  // under write_mutex_
  void Dispatch(const std::string& text);
  void FailAll(const std::string& why);
  void Record(char direction, const char* text, size_t size);

  pid_t pid_ = -1;
  int write_fd_ = -1;
  int read_fd_ = -1;
  std::atomic<bool> alive_{false};
  std::atomic<bool> stopping_{false};
  std::thread io_thread_;
  EventSink sink_;
  std::function<void(int)> on_death_;

  std::mutex write_mutex_;  // guards write_fd_, outbox_, outbox_sent_
  std::string outbox_;
  size_t outbox_sent_ = 0;  // bytes of outbox_ already written
  bool given_up_ = false;  // I/O thread
  std::mutex mutex_;  // guards next_id_, pending_, io_done_
  int next_id_ = 1;
  bool io_done_ = false;  // the I/O thread runs no more tasks
  struct Pending {
    std::string session;
    Callback cb;
  };
  std::map<int, Pending> pending_;
  WakeableTaskQueue io_tasks_;
  int wait_status_ = 0;
  // Every message both ways, one a line, when $VEXOR_CEF_PROTOCOL_LOG names a file.
  FILE* record_ = nullptr;
  std::mutex record_mutex_;
};

}  // namespace vexorcef

#endif
