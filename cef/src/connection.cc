#include "connection.h"

#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <cstring>

#include "log.h"

namespace vexorcef {

Connection::Connection() {
  if (const char* path = getenv("VEXOR_CEF_PROTOCOL_LOG")) {
    if (*path) record_ = fopen(path, "a");
  }
}

Connection::~Connection() {
  Shutdown(2000);
  if (record_) fclose(record_);
}

void Connection::Record(char direction, const char* text, size_t size) {
  std::lock_guard<std::mutex> lock(record_mutex_);
  fputc(direction, record_);
  fputc(' ', record_);
  fwrite(text, 1, size, record_);
  fputc('\n', record_);
}

bool Connection::Launch(const std::string& program, const std::vector<std::string>& args,
                        const std::vector<std::string>& extra_env, std::string* error) {
  int to_child[2], from_child[2];
  if (pipe2(to_child, O_CLOEXEC) != 0 || pipe2(from_child, O_CLOEXEC) != 0) {
    *error = std::string("pipe: ") + strerror(errno);
    return false;
  }
  std::vector<std::string> argv_store;
  argv_store.push_back(program);
  argv_store.insert(argv_store.end(), args.begin(), args.end());
  std::vector<char*> argv;
  for (auto& a : argv_store) argv.push_back(const_cast<char*>(a.c_str()));
  argv.push_back(nullptr);
  // The environment is built before fork: the child may only exec.
  std::vector<std::string> env_store;
  for (char** e = environ; e && *e; ++e) {
    std::string entry = *e;
    std::string name = entry.substr(0, entry.find('='));
    bool replaced = false;
    for (auto& x : extra_env)
      if (x.compare(0, name.size() + 1, name + "=") == 0) replaced = true;
    if (!replaced) env_store.push_back(entry);
  }
  env_store.insert(env_store.end(), extra_env.begin(), extra_env.end());
  std::vector<char*> envp;
  for (auto& e : env_store) envp.push_back(const_cast<char*>(e.c_str()));
  envp.push_back(nullptr);

  pid_t pid = fork();
  if (pid < 0) {
    *error = std::string("fork: ") + strerror(errno);
    return false;
  }
  if (pid == 0) {
    // Lift both ends above 4 first so that placing them on 3 and 4 cannot clobber either.
    int r = fcntl(to_child[0], F_DUPFD, 10);
    int w = fcntl(from_child[1], F_DUPFD, 10);
    if (r < 0 || w < 0 || dup2(r, 3) < 0 || dup2(w, 4) < 0) _exit(127);
    close(r);
    close(w);
    // A new process group lets shutdown reach Chromium's helpers too.
    setpgid(0, 0);
    execve(program.c_str(), argv.data(), envp.data());
    _exit(127);
  }
  close(to_child[0]);
  close(from_child[1]);
  // The I/O thread writes as far as the pipe takes; the rest waits in the outbox.
  fcntl(to_child[1], F_SETFL, fcntl(to_child[1], F_GETFL) | O_NONBLOCK);
  write_fd_ = to_child[1];
  read_fd_ = from_child[0];
  pid_ = pid;
  alive_ = true;
  return true;
}

void Connection::Start(EventSink sink, std::function<void(int)> on_death) {
  sink_ = std::move(sink);
  on_death_ = std::move(on_death);
  io_thread_ = std::thread([this] { IoLoop(); });
  pthread_setname_np(io_thread_.native_handle(), "vexorcef-io");
}

int Connection::Send(const std::string& method, Json params, const std::string& session,
                     Callback cb) {
  int id;
  bool gone;
  Callback refuse_now;
  {
    std::lock_guard<std::mutex> lock(mutex_);
    id = next_id_++;
    gone = !alive_;
    if (!gone) {
      if (cb) pending_[id] = Pending{session, std::move(cb)};
    } else if (cb && !io_done_) {
      io_tasks_.Post([cb] { cb(Json(), Json("Chromium is not running")); });
    } else {
      refuse_now = std::move(cb);
    }
  }
  // No I/O thread is left to run it.
  if (refuse_now) refuse_now(Json(), Json("Chromium is not running"));
  if (gone) return id;
  std::string text;
  text.reserve(128);
  text += "{\"id\":";
  text += std::to_string(id);
  text += ",\"method\":";
  jsonEscape(method, text);
  if (!session.empty()) {
    text += ",\"sessionId\":";
    jsonEscape(session, text);
  }
  text += ",\"params\":";
  if (params.isNull()) text += "{}";
  else params.dumpTo(text);
  text += '}';
  if (record_) Record('>', text.data(), text.size());
  text += '\0';
  {
    std::lock_guard<std::mutex> lock(write_mutex_);
    if (write_fd_ < 0) return id;  // the read side fails the callback
    outbox_ += text;
  }
  if (OnIoThread()) Flush();
  else io_tasks_.Wake();
  return id;
}

void Connection::Flush() {
  // Beyond this, Chromium has not read for long: it hangs, and memory would run out.
  constexpr size_t kMostQueued = 64u << 20;
  std::lock_guard<std::mutex> lock(write_mutex_);
  while (outbox_sent_ < outbox_.size() && write_fd_ >= 0) {
    ssize_t n = write(write_fd_, outbox_.data() + outbox_sent_, outbox_.size() - outbox_sent_);
    if (n < 0) {
      if (errno == EINTR) continue;
      if (errno == EAGAIN) break;
      GiveUp("Chromium closed its command pipe");
      return;
    }
    outbox_sent_ += static_cast<size_t>(n);
  }
  // Sent bytes go in bulk: erasing each write's worth would copy a long backlog each time.
  if (outbox_sent_ == outbox_.size() || outbox_sent_ > outbox_.size() / 2) {
    outbox_.erase(0, outbox_sent_);
    outbox_sent_ = 0;
  }
  if (outbox_.size() - outbox_sent_ > kMostQueued)
    GiveUp("Chromium stopped reading its commands");
}

void Connection::GiveUp(const char* why) {
  if (given_up_) return;
  given_up_ = true;
  if (!stopping_) VLOG_ERROR(why);
  if (write_fd_ >= 0) close(write_fd_);
  write_fd_ = -1;
  outbox_.clear();
  outbox_sent_ = 0;
  if (pid_ > 0) {
    kill(-pid_, SIGKILL);
    kill(pid_, SIGKILL);
  }
}

bool Connection::SendSync(const std::string& method, Json params, int timeout_ms, Json* result,
                          std::string* error) {
  struct State {
    std::mutex m;
    std::condition_variable cv;
    bool done = false;
    Json result;
    std::string error;
  };
  auto st = std::make_shared<State>();
  Send(method, std::move(params), std::string(), [st](const Json& r, const Json& e) {
    std::lock_guard<std::mutex> lock(st->m);
    st->done = true;
    st->result = r;
    if (!e.isNull()) st->error = e.isString() ? e.str() : e["message"].str();
    st->cv.notify_all();
  });
  std::unique_lock<std::mutex> lock(st->m);
  if (!st->cv.wait_for(lock, std::chrono::milliseconds(timeout_ms), [&] { return st->done; })) {
    if (error) *error = "no answer within " + std::to_string(timeout_ms) + " ms";
    return false;
  }
  if (!st->error.empty()) {
    if (error) *error = st->error;
    return false;
  }
  if (result) *result = st->result;
  return true;
}

void Connection::PostIo(std::function<void()> task) { io_tasks_.Post(std::move(task)); }

void Connection::FailSession(const std::string& session, const std::string& why) {
  std::vector<Callback> failed;
  {
    std::lock_guard<std::mutex> lock(mutex_);
    for (auto it = pending_.begin(); it != pending_.end();) {
      if (it->second.session == session) {
        failed.push_back(std::move(it->second.cb));
        it = pending_.erase(it);
      } else {
        ++it;
      }
    }
  }
  for (auto& cb : failed) cb(Json(), Json(why));
}

void Connection::FailAll(const std::string& why) {
  std::map<int, Pending> all;
  std::deque<std::function<void()>> tasks;
  {
    std::lock_guard<std::mutex> lock(mutex_);
    all.swap(pending_);
  }
  for (auto& p : all) p.second.cb(Json(), Json(why));
}

void Connection::Dispatch(const std::string& text) {
  if (record_) Record('<', text.data(), text.size());
  bool ok = false;
  Json msg = Json::parse(text, &ok);
  if (!ok || !msg.isObject()) {
    VLOG_ERROR("unreadable message from Chromium");
    return;
  }
  if (msg.has("id")) {
    int id = static_cast<int>(msg["id"].integer());
    Callback cb;
    {
      std::lock_guard<std::mutex> lock(mutex_);
      auto it = pending_.find(id);
      if (it == pending_.end()) return;
      cb = std::move(it->second.cb);
      pending_.erase(it);
    }
    if (msg.has("error")) cb(Json(), msg["error"]);
    else cb(msg["result"], Json());
    return;
  }
  if (sink_) sink_(msg["method"].str(), msg["params"], msg["sessionId"].str());
}

void Connection::IoLoop() {
  // A write to a pipe Chromium closed raises SIGPIPE in the writing thread, which is this
  // one only: blocked here, it stays pending and harmless, and the write fails with EPIPE.
  sigset_t pipe_signal;
  sigemptyset(&pipe_signal);
  sigaddset(&pipe_signal, SIGPIPE);
  pthread_sigmask(SIG_BLOCK, &pipe_signal, nullptr);
  std::string buffer;
  std::vector<char> chunk(1 << 16);
  bool eof = false;
  while (!eof) {
    bool writing;
    int write_fd;
    {
      std::lock_guard<std::mutex> lock(write_mutex_);
      writing = outbox_sent_ < outbox_.size() && write_fd_ >= 0;
      write_fd = write_fd_;
    }
    pollfd fds[3] = {{read_fd_, POLLIN, 0},
                     {io_tasks_.fd(), POLLIN, 0},
                     {writing ? write_fd : -1, POLLOUT, 0}};
    int n = poll(fds, 3, -1);
    if (n < 0) {
      if (errno == EINTR) continue;
      break;
    }
    io_tasks_.RunAll();
    Flush();
    if (stopping_ && !(fds[0].revents & (POLLIN | POLLHUP | POLLERR))) continue;
    if (fds[0].revents & (POLLIN | POLLHUP | POLLERR)) {
      ssize_t got = read(read_fd_, chunk.data(), chunk.size());
      if (got < 0 && (errno == EINTR || errno == EAGAIN)) continue;
      if (got <= 0) {
        eof = true;
        break;
      }
      size_t start = buffer.size();
      buffer.append(chunk.data(), got);
      size_t from = 0;
      for (size_t i = start; i < buffer.size(); ++i) {
        if (buffer[i] == '\0') {
          Dispatch(buffer.substr(from, i - from));
          from = i + 1;
        }
      }
      buffer.erase(0, from);
    }
  }
  alive_ = false;
  int status = 0;
  // The child may linger a moment after closing its end of the pipe.
  for (int i = 0; i < 200; ++i) {
    pid_t r = waitpid(pid_, &status, WNOHANG);
    if (r == pid_ || r < 0) break;
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
    if (i == 199) {
      kill(-pid_, SIGKILL);
      kill(pid_, SIGKILL);
      waitpid(pid_, &status, 0);
    }
  }
  wait_status_ = status;
  FailAll("Chromium exited");
  {
    std::lock_guard<std::mutex> lock(mutex_);
    io_done_ = true;
  }
  // Run what was queued before the end so nothing waits forever.
  io_tasks_.RunAll();
  if (on_death_ && !stopping_) on_death_(status);
}

void Connection::Shutdown(int timeout_ms) {
  if (!io_thread_.joinable()) {
    if (pid_ > 0 && alive_) {
      kill(-pid_, SIGKILL);
      kill(pid_, SIGKILL);
      waitpid(pid_, nullptr, 0);
      alive_ = false;
    }
    return;
  }
  if (OnIoThread()) return;
  stopping_ = true;
  if (alive_) {
    Send("Browser.close", Json::object());
    auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeout_ms);
    while (alive_ && std::chrono::steady_clock::now() < deadline)
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    if (alive_ && pid_ > 0) {
      kill(-pid_, SIGKILL);
      kill(pid_, SIGKILL);
    }
  }
  {
    std::lock_guard<std::mutex> lock(write_mutex_);
    if (write_fd_ >= 0) close(write_fd_);
    write_fd_ = -1;
    outbox_.clear();
    outbox_sent_ = 0;
  }
  io_tasks_.Wake();
  io_thread_.join();
  if (read_fd_ >= 0) close(read_fd_);
  read_fd_ = -1;
}

}  // namespace vexorcef
