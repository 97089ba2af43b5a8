#include "x_windows.h"

#include <poll.h>
#include <pthread.h>
#include <xcb/xcb.h>

#include <chrono>
#include <cstdlib>
#include <memory>
#include <type_traits>
#include <vector>

#include "log.h"

namespace vexorcef {

namespace {

long long NowMs() {
  return std::chrono::duration_cast<std::chrono::milliseconds>(
             std::chrono::steady_clock::now().time_since_epoch())
      .count();
}

struct FreeDeleter {
  void operator()(void* p) const { free(p); }
};
template <typename T>
using XcbPtr = std::unique_ptr<T, FreeDeleter>;

// The reply to a request, or null when it failed: windows of other clients vanish at any
// time, and a request about one that is gone is no fault.
template <typename ReplyFn, typename Cookie>
auto Await(xcb_connection_t* c, ReplyFn reply_fn, Cookie cookie) {
  xcb_generic_error_t* error = nullptr;
  auto* reply = reply_fn(c, cookie, &error);
  free(error);
  return XcbPtr<std::remove_pointer_t<decltype(reply)>>(reply);
}

// Waits until the server has handled everything sent so far.
void Sync(xcb_connection_t* c) { Await(c, xcb_get_input_focus_reply, xcb_get_input_focus(c)); }

void SelectStructureEvents(xcb_connection_t* c, xcb_window_t w) {
  const uint32_t mask = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
  xcb_change_window_attributes(c, w, XCB_CW_EVENT_MASK, &mask);
}

void MoveResize(xcb_connection_t* c, xcb_window_t w, int width, int height) {
  const uint32_t values[] = {0, 0, static_cast<uint32_t>(width), static_cast<uint32_t>(height)};
  xcb_configure_window(c, w,
                       XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y | XCB_CONFIG_WINDOW_WIDTH |
                           XCB_CONFIG_WINDOW_HEIGHT,
                       values);
}

}  // namespace

XWindows::XWindows() {}

XWindows::~XWindows() { Close(); }

bool XWindows::Open(std::string* error) {
  if (conn_) return true;
  int screen_number = 0;
  xcb_connection_t* c = xcb_connect(nullptr, &screen_number);
  if (xcb_connection_has_error(c)) {
    xcb_disconnect(c);
    *error = "cannot open the X display (is DISPLAY set?)";
    return false;
  }
  xcb_screen_iterator_t screens = xcb_setup_roots_iterator(xcb_get_setup(c));
  for (int i = 0; i < screen_number; ++i) xcb_screen_next(&screens);
  conn_ = c;
  root_ = screens.data->root;
  white_pixel_ = screens.data->white_pixel;
  static const char kPidAtom[] = "_NET_WM_PID";
  auto atom = Await(c, xcb_intern_atom_reply, xcb_intern_atom(c, 0, sizeof kPidAtom - 1, kPidAtom));
  if (atom) atom_pid_ = atom->atom;
  stop_ = false;
  thread_ = std::thread([this] { Loop(); });
  pthread_setname_np(thread_.native_handle(), "vexorcef-x");
  return true;
}

void XWindows::Close() {
  if (!conn_) return;
  Post([this] { stop_ = true; });
  thread_.join();
  xcb_disconnect(conn_);
  conn_ = nullptr;
}

void XWindows::Post(std::function<void()> task) { tasks_.Post(std::move(task)); }

void XWindows::CreateContainer(unsigned long parent, int x, int y, int width, int height,
                               const std::string& title,
                               std::function<void(unsigned long)> done) {
  Post([=] {
    xcb_window_t w = xcb_generate_id(conn_);
    const uint32_t values[] = {white_pixel_, 0, XCB_EVENT_MASK_STRUCTURE_NOTIFY};
    xcb_create_window(conn_, XCB_COPY_FROM_PARENT, w, parent ? parent : root_, x, y,
                      width > 0 ? width : 1, height > 0 ? height : 1, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT,
                      XCB_CW_BACK_PIXEL | XCB_CW_BORDER_PIXEL | XCB_CW_EVENT_MASK, values);
    if (!title.empty())
      xcb_change_property(conn_, XCB_PROP_MODE_REPLACE, w, XCB_ATOM_WM_NAME, XCB_ATOM_STRING, 8,
                          title.size(), title.data());
    xcb_map_window(conn_, w);
    Sync(conn_);
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
    xcb_destroy_window(conn_, container);
    Sync(conn_);
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

unsigned long XWindows::FindTopLevelOf(pid_t pid) {
  auto tree = Await(conn_, xcb_query_tree_reply, xcb_query_tree(conn_, root_));
  if (!tree) return XCB_WINDOW_NONE;
  const xcb_window_t* tops = xcb_query_tree_children(tree.get());
  const int count = xcb_query_tree_children_length(tree.get());
  // All questions first, then the answers: one round trip for every window.
  struct Asked {
    xcb_window_t window;
    xcb_get_window_attributes_cookie_t attributes;
    xcb_get_property_cookie_t pid;
  };
  std::vector<Asked> asked;
  for (int i = 0; i < count; ++i) {
    if (seen_.count(tops[i])) continue;
    asked.push_back({tops[i], xcb_get_window_attributes(conn_, tops[i]),
                     xcb_get_property(conn_, 0, tops[i], atom_pid_, XCB_ATOM_CARDINAL, 0, 1)});
  }
  xcb_window_t found = XCB_WINDOW_NONE;
  for (const Asked& a : asked) {
    auto attributes = Await(conn_, xcb_get_window_attributes_reply, a.attributes);
    auto property = Await(conn_, xcb_get_property_reply, a.pid);
    if (!attributes || attributes->map_state != XCB_MAP_STATE_VIEWABLE ||
        attributes->override_redirect)
      continue;
    if (property && property->format == 32 && property->value_len == 1 &&
        static_cast<pid_t>(*static_cast<uint32_t*>(xcb_get_property_value(property.get()))) == pid)
      found = a.window;
  }
  return found;
}

bool XWindows::TrySearch(Search& s) {
  unsigned long found = FindTopLevelOf(s.pid);
  if (!found) {
    if (NowMs() >= s.deadline_ms) {
      VLOG_ERROR("Chromium's window did not appear");
      s.done(0);
      return true;
    }
    return false;
  }
  seen_.insert(found);
  auto container = Await(conn_, xcb_get_geometry_reply, xcb_get_geometry(conn_, s.container));
  SelectStructureEvents(conn_, found);
  xcb_reparent_window(conn_, found, s.container, 0, 0);
  MoveResize(conn_, found, container ? container->width : 1, container ? container->height : 1);
  xcb_map_window(conn_, found);
  Sync(conn_);
  child_of_[s.container] = found;
  container_of_[found] = s.container;
  s.done(found);
  return true;
}

void XWindows::FitChild(unsigned long container) {
  auto it = child_of_.find(container);
  if (it == child_of_.end()) return;
  auto container_cookie = xcb_get_geometry(conn_, container);
  auto child_cookie = xcb_get_geometry(conn_, it->second);
  auto c = Await(conn_, xcb_get_geometry_reply, container_cookie);
  auto w = Await(conn_, xcb_get_geometry_reply, child_cookie);
  if (!c || !w) return;
  if (w->x != 0 || w->y != 0 || w->width != c->width || w->height != c->height)
    MoveResize(conn_, it->second, c->width, c->height);
}

void XWindows::HandleEvents() {
  // Errors come here too, as events: requests about windows of other clients fail when
  // those are gone, which needs nothing done.
  while (XcbPtr<xcb_generic_event_t> ev{xcb_poll_for_event(conn_)}) {
    const uint8_t type = ev->response_type & ~0x80;
    if (type == XCB_CONFIGURE_NOTIFY) {
      xcb_window_t w = reinterpret_cast<xcb_configure_notify_event_t*>(ev.get())->window;
      if (child_of_.count(w)) {
        FitChild(w);
      } else {
        auto it = container_of_.find(w);
        if (it != container_of_.end()) FitChild(it->second);
      }
    } else if (type == XCB_DESTROY_NOTIFY) {
      xcb_window_t w = reinterpret_cast<xcb_destroy_notify_event_t*>(ev.get())->window;
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
  int xfd = xcb_get_file_descriptor(conn_);
  while (!stop_) {
    HandleEvents();
    xcb_flush(conn_);
    if (xfd >= 0 && xcb_connection_has_error(conn_)) {
      // The server went away: its socket would wake us for ever.
      VLOG_ERROR("lost the X display");
      xfd = -1;
    }
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
