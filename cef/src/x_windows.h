// The engine's X11 side: a thread with its own display connection that makes the browser
// windows, finds Chromium's window for each and keeps it filling the engine's window.
#ifndef VEXOR_CEF_SRC_X_WINDOWS_H_
#define VEXOR_CEF_SRC_X_WINDOWS_H_

#include <sys/types.h>

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <thread>

#include "task_queue.h"

struct xcb_connection_t;

namespace vexorcef {

class XWindows {
 public:
  XWindows();
  ~XWindows();

  // Opens the display named by $DISPLAY. False with *error set if there is none.
  bool Open(std::string* error);
  void Close();

  // All callbacks below run on the X thread.
  // Makes and maps a window (a child of parent, or top-level when parent is 0).
  void CreateContainer(unsigned long parent, int x, int y, int width, int height,
                       const std::string& title, std::function<void(unsigned long)> done);
  void DestroyContainer(unsigned long container, std::function<void()> done);
  // Waits up to timeout_ms for a mapped top-level window of process pid that was not seen
  // before, moves it into container and sizes it to fill it. done(0) on timeout.
  void AdoptNewWindow(pid_t pid, unsigned long container, int timeout_ms,
                      std::function<void(unsigned long)> done);
  // Marks every current window of pid as seen (after a restart, windows of a new process).
  void ForgetAll();

 private:
  struct Search {
    pid_t pid;
    unsigned long container;
    long long deadline_ms;
    std::function<void(unsigned long)> done;
  };

  void Loop();
  void Post(std::function<void()> task);
  void HandleEvents();
  // A mapped top-level window of pid not seen before, the topmost if several; 0 for none.
  unsigned long FindTopLevelOf(pid_t pid);
  bool TrySearch(Search& s);
  void FitChild(unsigned long container);

  xcb_connection_t* conn_ = nullptr;
  bool stop_ = false;
  std::thread thread_;
  WakeableTaskQueue tasks_;

  // X thread only.
  std::deque<Search> searches_;
  std::set<unsigned long> seen_;
  std::map<unsigned long, unsigned long> child_of_;   // container -> Chromium window
  std::map<unsigned long, unsigned long> container_of_;  // Chromium window -> container
  uint32_t root_ = 0;
  uint32_t white_pixel_ = 0;
  uint32_t atom_pid_ = 0;
};

}  // namespace vexorcef

#endif
