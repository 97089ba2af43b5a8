#include "x_windows.h"

#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <poll.h>
#include <pthread.h>
#include <unistd.h>

#include <chrono>
#include <vector>

#include "log.h"

namespace vexorcef {

namespace {

long long NowMs() {
  return std::chrono::duration_cast<std::chrono::milliseconds>(
             std::chrono::steady_clock::now().time_since_epoch())
      .count();
}

int IgnoreXError(Display*, XErrorEvent*) { return 0; }

}  // namespace

XWindows::XWindows() {}

XWindows::~XWindows() { Close(); }

bool XWindows::Open(std::string* error) {
  if (dpy_) return true;
  dpy_ = XOpenDisplay(nullptr);
  if (!dpy_) {
    *error = "cannot open the X display (is DISPLAY set?)";
    return false;
  }
  // Windows of other clients vanish at any time; a failed request on one is not fatal.
  XSetErrorHandler(IgnoreXError);
  atom_pid_ = XInternAtom(dpy_, "_NET_WM_PID", False);
  stop_ = false;
  thread_ = std::thread([this] { Loop(); });
  pthread_setname_np(thread_.native_handle(), "vexorcef-x");
  return true;
}

void XWindows::Close() {
  if (!dpy_) return;
  Post([this] { stop_ = true; });
  thread_.join();
  XCloseDisplay(dpy_);
  dpy_ = nullptr;
}

void XWindows::Post(std::function<void()> task) { tasks_.Post(std::move(task)); }

void XWindows::CreateContainer(unsigned long parent, int x, int y, int width, int height,
                               const std::string& title,
                               std::function<void(unsigned long)> done) {
  Post([=] {
    Window p = parent ? parent : DefaultRootWindow(dpy_);
    Window w = XCreateSimpleWindow(dpy_, p, x, y, width > 0 ? width : 1, height > 0 ? height : 1,
                                   0, 0, WhitePixel(dpy_, DefaultScreen(dpy_)));
    if (!title.empty()) XStoreName(dpy_, w, title.c_str());
    XSelectInput(dpy_, w, StructureNotifyMask);
    XMapWindow(dpy_, w);
    XSync(dpy_, False);
    done(w);
  });
}

void XWindows::DestroyContainer(unsigned long container, std::function<void()> done) {
  Post([=] {
    auto it = child_of_.find(container);
    if (it != child_of_.end()) {
      container_of_.erase(it->second);
      child_of_.erase(it);
    }
    XDestroyWindow(dpy_, container);
    XSync(dpy_, False);
    if (done) done();
  });
}

void XWindows::AdoptNewWindow(pid_t pid, unsigned long container, int timeout_ms,
                              std::function<void(unsigned long)> done) {
  Post([=] {
    searches_.push_back(Search{pid, container, NowMs() + timeout_ms, done});
    if (TrySearch(searches_.back())) searches_.pop_back();
  });
}

void XWindows::ForgetAll() {
  Post([this] {
    // Windows of a dead Chromium are gone; their containers stay and get new children.
    for (auto& c : child_of_) container_of_.erase(c.second);
    child_of_.clear();
  });
}

bool XWindows::TrySearch(Search& s) {
  Window root = DefaultRootWindow(dpy_), parent_ret;
  Window* children = nullptr;
  unsigned int count = 0;
  if (!XQueryTree(dpy_, root, &root, &parent_ret, &children, &count)) return false;
  std::vector<Window> tops(children, children + count);
  if (children) XFree(children);
  Window found = 0;
  for (Window w : tops) {
    if (seen_.count(w)) continue;
    XWindowAttributes attrs;
    if (!XGetWindowAttributes(dpy_, w, &attrs) || attrs.map_state != IsViewable ||
        attrs.override_redirect)
      continue;
    Atom type;
    int format;
    unsigned long n, after;
    unsigned char* data = nullptr;
    if (XGetWindowProperty(dpy_, w, atom_pid_, 0, 1, False, XA_CARDINAL, &type, &format, &n,
                           &after, &data) == Success &&
        data && n == 1 && format == 32) {
      unsigned long value = *reinterpret_cast<unsigned long*>(data);
      if (static_cast<pid_t>(value) == s.pid) found = w;
    }
    if (data) XFree(data);
  }
  if (!found) {
    if (NowMs() >= s.deadline_ms) {
      VLOG_ERROR("Chromium's window did not appear");
      s.done(0);
      return true;
    }
    return false;
  }
  seen_.insert(found);
  XWindowAttributes ca;
  int cw = 1, ch = 1;
  if (XGetWindowAttributes(dpy_, s.container, &ca)) {
    cw = ca.width;
    ch = ca.height;
  }
  XSelectInput(dpy_, found, StructureNotifyMask);
  XReparentWindow(dpy_, found, s.container, 0, 0);
  XMoveResizeWindow(dpy_, found, 0, 0, cw, ch);
  XMapWindow(dpy_, found);
  XSync(dpy_, False);
  child_of_[s.container] = found;
  container_of_[found] = s.container;
  s.done(found);
  return true;
}

void XWindows::FitChild(unsigned long container) {
  auto it = child_of_.find(container);
  if (it == child_of_.end()) return;
  XWindowAttributes ca, wa;
  if (!XGetWindowAttributes(dpy_, container, &ca) || !XGetWindowAttributes(dpy_, it->second, &wa))
    return;
  if (wa.x != 0 || wa.y != 0 || wa.width != ca.width || wa.height != ca.height) {
    XMoveResizeWindow(dpy_, it->second, 0, 0, ca.width, ca.height);
    XFlush(dpy_);
  }
}

void XWindows::HandleEvents() {
  while (XPending(dpy_)) {
    XEvent ev;
    XNextEvent(dpy_, &ev);
    if (ev.type == ConfigureNotify) {
      Window w = ev.xconfigure.window;
      if (child_of_.count(w)) {
        FitChild(w);
      } else {
        auto it = container_of_.find(w);
        if (it != container_of_.end()) FitChild(it->second);
      }
    } else if (ev.type == DestroyNotify) {
      Window w = ev.xdestroywindow.window;
      auto it = container_of_.find(w);
      if (it != container_of_.end()) {
        child_of_.erase(it->second);
        container_of_.erase(it);
      }
      seen_.erase(w);
    }
  }
}

void XWindows::Loop() {
  int xfd = ConnectionNumber(dpy_);
  while (!stop_) {
    HandleEvents();
    pollfd fds[2] = {{xfd, POLLIN, 0}, {tasks_.fd(), POLLIN, 0}};
    int timeout = searches_.empty() ? -1 : 4;
    poll(fds, 2, timeout);
    tasks_.RunAll();
    for (auto it = searches_.begin(); it != searches_.end();) {
      if (TrySearch(*it)) it = searches_.erase(it);
      else ++it;
    }
  }
}

}  // namespace vexorcef
