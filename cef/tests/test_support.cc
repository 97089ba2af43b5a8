#include "test_support.h"

#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <X11/extensions/shape.h>
#include <arpa/inet.h>
#include <netinet/in.h>
#include <dirent.h>
#include <poll.h>
#include <cstdio>
#include <cstring>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <sstream>

#include "include/cef_task.h"

namespace testing_support {

// ---- HTTP server

HttpServer::HttpServer() {
  listen_fd_ = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  int one = 1;
  setsockopt(listen_fd_, SOL_SOCKET, SO_REUSEADDR, &one, sizeof one);
  sockaddr_in addr = {};
  addr.sin_family = AF_INET;
  addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  addr.sin_port = 0;
  bind(listen_fd_, reinterpret_cast<sockaddr*>(&addr), sizeof addr);
  listen(listen_fd_, 64);
  socklen_t len = sizeof addr;
  getsockname(listen_fd_, reinterpret_cast<sockaddr*>(&addr), &len);
  port_ = ntohs(addr.sin_port);
  thread_ = std::thread([this] { Loop(); });
}

HttpServer::~HttpServer() {
  stop_ = true;
  shutdown(listen_fd_, SHUT_RDWR);
  thread_.join();
  close(listen_fd_);
  // Connections still served end now: their threads use this object.
  std::unique_lock<std::mutex> l(mutex_);
  for (int fd : open_fds_) shutdown(fd, SHUT_RDWR);
  stopped_.notify_all();
  stopped_.wait(l, [&] { return open_fds_.empty(); });
}

std::string HttpServer::Url(const std::string& path) const {
  return "http://127.0.0.1:" + std::to_string(port_) + path;
}

void HttpServer::Serve(const std::string& path, const std::string& body, int status,
                       const std::string& type, int delay_ms) {
  std::lock_guard<std::mutex> l(mutex_);
  routes_[path] = Response{status, type, body, delay_ms};
}

void HttpServer::ServeCacheable(const std::string& path, const std::string& body,
                                const std::string& type) {
  std::lock_guard<std::mutex> l(mutex_);
  routes_[path] = Response{200, type, body, 0, "max-age=3600"};
}

std::vector<std::string> HttpServer::Requests() {
  std::lock_guard<std::mutex> l(mutex_);
  return requests_;
}

int HttpServer::CountRequests(const std::string& prefix) {
  std::lock_guard<std::mutex> l(mutex_);
  int n = 0;
  for (auto& r : requests_)
    if (r.compare(0, prefix.size(), prefix) == 0) ++n;
  return n;
}

void HttpServer::Loop() {
  while (!stop_) {
    pollfd p = {listen_fd_, POLLIN, 0};
    if (poll(&p, 1, 200) <= 0) continue;
    int fd = accept4(listen_fd_, nullptr, nullptr, SOCK_CLOEXEC);
    if (fd < 0) continue;
    {
      std::lock_guard<std::mutex> l(mutex_);
      open_fds_.insert(fd);
    }
    std::thread([this, fd] {
      Handle(fd);
      std::lock_guard<std::mutex> l(mutex_);
      close(fd);
      open_fds_.erase(fd);
      stopped_.notify_all();
    }).detach();
  }
}

void HttpServer::Handle(int fd) {
  // Keep-alive: serve requests until the peer closes.
  std::string buf;
  char chunk[4096];
  while (true) {
    size_t end;
    while ((end = buf.find("\r\n\r\n")) == std::string::npos) {
      pollfd p = {fd, POLLIN, 0};
      if (poll(&p, 1, 5000) <= 0) return;
      ssize_t n = read(fd, chunk, sizeof chunk);
      if (n <= 0) return;
      buf.append(chunk, n);
    }
    std::string head = buf.substr(0, end);
    buf.erase(0, end + 4);
    std::istringstream in(head);
    std::string method, target;
    in >> method >> target;
    size_t cl = head.find("Content-Length: ");
    if (cl != std::string::npos) {
      size_t len = std::strtoul(head.c_str() + cl + 16, nullptr, 10);
      while (buf.size() < len) {
        ssize_t n = read(fd, chunk, sizeof chunk);
        if (n <= 0) break;
        buf.append(chunk, n);
      }
      buf.erase(0, std::min(len, buf.size()));
    }
    Response r;
    bool found = false;
    {
      std::lock_guard<std::mutex> l(mutex_);
      requests_.push_back(target);
      std::string path = target.substr(0, target.find('?'));
      auto it = routes_.find(path);
      if (it != routes_.end()) {
        r = it->second;
        found = true;
      }
    }
    if (!found) {
      r.status = 404;
      r.body = "<html><body>not found</body></html>";
    }
    if (r.delay_ms > 0) {
      std::unique_lock<std::mutex> l(mutex_);
      if (stopped_.wait_for(l, std::chrono::milliseconds(r.delay_ms), [&] { return stop_.load(); }))
        return;
    }
    std::string out = "HTTP/1.1 " + std::to_string(r.status) + " X\r\nContent-Type: " + r.type +
                      "\r\nContent-Length: " + std::to_string(r.body.size()) +
                      "\r\nCache-Control: " + r.cache_control + "\r\n\r\n" + r.body;
    // The browser may have closed the connection meanwhile: no SIGPIPE for that.
    if (send(fd, out.data(), out.size(), MSG_NOSIGNAL) < 0) return;
  }
}

// ---- Engine

int g_window_x = 0;
int g_window_y = 0;

namespace {

std::atomic<bool> g_pump_only_when_asked{false};
std::mutex g_pump_mutex;
std::optional<std::chrono::steady_clock::time_point> g_pump_due;  // guarded by g_pump_mutex

// One turn of the test's loop: the engine's work when it is wanted, then a short sleep.
void PumpOnce() {
  if (g_pump_only_when_asked) {
    std::unique_lock<std::mutex> lock(g_pump_mutex);
    if (!g_pump_due || *g_pump_due > std::chrono::steady_clock::now()) {
      lock.unlock();
      std::this_thread::sleep_for(std::chrono::microseconds(500));
      return;
    }
    g_pump_due.reset();
  }
  CefDoMessageLoopWork();
  std::this_thread::sleep_for(std::chrono::microseconds(500));
}

}  // namespace

bool PumpUntil(const std::function<bool()>& done, int timeout_ms) {
  auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeout_ms);
  while (!done()) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    PumpOnce();
  }
  return true;
}

void PumpFor(int ms) {
  auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(ms);
  while (std::chrono::steady_clock::now() < deadline) PumpOnce();
}

void PumpOnlyWhenAsked() { g_pump_only_when_asked = true; }

void AskForPump(int64 delay_ms) {
  auto due = std::chrono::steady_clock::now() + std::chrono::milliseconds(delay_ms);
  std::lock_guard<std::mutex> lock(g_pump_mutex);
  if (!g_pump_due || due < *g_pump_due) g_pump_due = due;
}

std::string LauncherPath() { return VEXOR_TEST_LAUNCHER; }

bool ChromiumPresent(std::string* path) {
  const char* env = std::getenv("VEXOR_CHROMIUM_BINARY");
  *path = env && *env ? env : "/usr/lib/chromium/chromium";
  return access(path->c_str(), X_OK) == 0;
}

namespace {
// The test's X queries ask about windows that Chromium or the engine may have destroyed.
int IgnoreXErrors(Display*, XErrorEvent*) { return 0; }
}  // namespace

bool ProgramXErrorHandlerInPlace() { return XSetErrorHandler(IgnoreXErrors) == IgnoreXErrors; }

bool StartEngine(CefRefPtr<CefApp> app, std::string* why, bool external_message_pump) {
  std::string chromium;
  if (!ChromiumPresent(&chromium)) {
    if (why) *why = "Chromium not found at " + chromium + " (set VEXOR_CHROMIUM_BINARY)";
    return false;
  }
  if (!std::getenv("DISPLAY")) {
    if (why) *why = "no DISPLAY: run the tests under Xvfb";
    return false;
  }
  CefSettings settings;
  CefString(&settings.browser_subprocess_path) = LauncherPath();
  settings.log_severity = LOGSEVERITY_ERROR;
  CefString(&settings.user_agent) = "VexorTest/1.0 (X11; Linux)";
  CefString(&settings.accept_language_list) = "fr-FR,en";
  settings.no_sandbox = 1;
  settings.external_message_pump = external_message_pump;
  char* argv[] = {const_cast<char*>("test"), nullptr};
  CefMainArgs args(1, argv);
  XSetErrorHandler(IgnoreXErrors);
  if (!CefInitialize(args, settings, app, nullptr)) {
    if (why) *why = "CefInitialize failed";
    return false;
  }
  return true;
}

int RunTestsOnEngine(CefRefPtr<CefApp> app, bool external_message_pump) {
  std::string why;
  if (!StartEngine(app, &why, external_message_pump)) {
    fprintf(stderr, "FAILED: cannot start the engine: %s\n", why.c_str());
    return 1;
  }
  const int rc = RUN_ALL_TESTS();
  CefShutdown();
  return rc;
}

// ---- Client

void TestClient::Note(const std::string& line) {
  std::lock_guard<std::mutex> l(mutex);
  log.push_back(line);
}

void TestClient::CheckUi() {
  if (!CefCurrentlyOn(TID_UI)) callbacks_on_ui = false;
}

void TestClient::ClearLog() {
  std::lock_guard<std::mutex> l(mutex);
  log.clear();
  console.clear();
  requests.clear();
}

std::vector<std::string> TestClient::Log() {
  std::lock_guard<std::mutex> l(mutex);
  return log;
}

bool TestClient::HasLog(const std::string& needle) {
  std::lock_guard<std::mutex> l(mutex);
  for (auto& s : log)
    if (s.find(needle) != std::string::npos) return true;
  for (auto& s : console)
    if (s.find(needle) != std::string::npos) return true;
  return false;
}

bool TestClient::WaitForLog(const std::string& needle, int timeout_ms) {
  return PumpUntil([&] { return HasLog(needle); }, timeout_ms);
}

bool TestClient::OnProcessMessageReceived(CefRefPtr<CefBrowser> b, CefProcessId source,
                                          CefRefPtr<CefProcessMessage> message) {
  CheckUi();
  std::string line = "message " + message->GetName().ToString();
  CefRefPtr<CefListValue> args = message->GetArgumentList();
  if (message->GetName().ToString() == "renderer.focused_node_changed" && args->GetSize() == 1)
    line += args->GetBool(0) ? " true" : " false";
  Note(line);
  return router && router->OnProcessMessageReceived(b, source, message);
}

void TestClient::OnAddressChange(CefRefPtr<CefBrowser>, CefRefPtr<CefFrame> frame,
                                 const CefString& url) {
  CheckUi();
  Note(std::string("address ") + (frame->IsMain() ? "main " : "sub ") + url.ToString());
}

void TestClient::OnTitleChange(CefRefPtr<CefBrowser>, const CefString& t) {
  CheckUi();
  title = t.ToString();
  Note("title " + title);
}

bool TestClient::OnConsoleMessage(CefRefPtr<CefBrowser>, cef_log_severity_t level,
                                  const CefString& message, const CefString& source, int line) {
  CheckUi();
  std::lock_guard<std::mutex> l(mutex);
  console.push_back(message.ToString());
  log.push_back("console " + std::to_string(level) + " " + message.ToString() + " @" +
                source.ToString() + ":" + std::to_string(line));
  return true;
}

void TestClient::OnLoadingProgressChange(CefRefPtr<CefBrowser>, double p) {
  CheckUi();
  progress.push_back(p);
}

bool TestClient::OnBeforePopup(CefRefPtr<CefBrowser>, CefRefPtr<CefFrame>,
                               const CefString& target_url, const CefString&,
                               WindowOpenDisposition, bool, const CefPopupFeatures&,
                               CefWindowInfo&, CefRefPtr<CefClient>&, CefBrowserSettings&,
                               bool*) {
  CheckUi();
  Note("popup " + target_url.ToString());
  return on_popup ? on_popup(target_url.ToString()) : true;
}

void TestClient::OnAfterCreated(CefRefPtr<CefBrowser> b) {
  CheckUi();
  if (!browser) browser = b;
  after_created = true;
  Note("created " + std::to_string(b->GetIdentifier()) + (b->IsPopup() ? " popup" : ""));
}

bool TestClient::DoClose(CefRefPtr<CefBrowser>) {
  CheckUi();
  Note(std::string("doclose ") + (refuse_close ? "refused" : "allowed"));
  return refuse_close;
}

void TestClient::OnBeforeClose(CefRefPtr<CefBrowser> b) {
  CheckUi();
  if (router) router->OnBeforeClose(b);
  before_close = true;
  Note("beforeclose");
}

void TestClient::OnLoadingStateChange(CefRefPtr<CefBrowser>, bool isLoading, bool canGoBack,
                                      bool canGoForward) {
  CheckUi();
  loading = isLoading;
  can_back = canGoBack;
  can_forward = canGoForward;
  Note(std::string("loading ") + (isLoading ? "1" : "0") + " back " + (canGoBack ? "1" : "0") +
       " fwd " + (canGoForward ? "1" : "0"));
}

void TestClient::OnLoadStart(CefRefPtr<CefBrowser>, CefRefPtr<CefFrame> frame,
                             TransitionType tt) {
  CheckUi();
  Note(std::string("loadstart ") + (frame->IsMain() ? "main " : "sub ") + frame->GetURL().ToString() +
       " tt " + std::to_string(tt & TT_SOURCE_MASK));
}

void TestClient::OnLoadEnd(CefRefPtr<CefBrowser>, CefRefPtr<CefFrame> frame, int status) {
  CheckUi();
  if (frame->IsMain()) {
    ++main_load_ends;
    last_status = status;
  }
  Note(std::string("loadend ") + (frame->IsMain() ? "main " : "sub ") + std::to_string(status) +
       " " + frame->GetURL().ToString());
}

void TestClient::OnLoadError(CefRefPtr<CefBrowser>, CefRefPtr<CefFrame> frame,
                             ErrorCode errorCode, const CefString& errorText,
                             const CefString& failedUrl) {
  CheckUi();
  if (frame->IsMain()) {
    ++main_load_errors;
    last_error = errorCode;
  }
  Note(std::string("loaderror ") + (frame->IsMain() ? "main " : "sub ") +
       std::to_string(errorCode) + " " + errorText.ToString() + " " + failedUrl.ToString());
}

bool TestClient::OnBeforeBrowse(CefRefPtr<CefBrowser> browser, CefRefPtr<CefFrame> frame,
                                CefRefPtr<CefRequest>, bool, bool) {
  CheckUi();
  if (router) router->OnBeforeBrowse(browser, frame);
  return false;
}

CefRequestHandler::ReturnValue TestClient::OnBeforeResourceLoad(
    CefRefPtr<CefBrowser>, CefRefPtr<CefFrame>, CefRefPtr<CefRequest> request,
    CefRefPtr<CefRequestCallback> callback) {
  if (!CefCurrentlyOn(TID_IO) || CefCurrentlyOn(TID_UI)) request_thread_ok = false;
  {
    std::lock_guard<std::mutex> l(mutex);
    requests.emplace_back(request->GetURL().ToString(), request->GetResourceType());
  }
  if (on_request_async) return on_request_async(request, callback);
  return on_request ? on_request(request) : RV_CONTINUE;
}

bool TestClient::GetRefusableRequests(CefRefusableRequests& r) {
  CheckUi();
  if (refusable) r = *refusable;
  return refusable.has_value();
}

void TestClient::OnRenderProcessTerminated(CefRefPtr<CefBrowser> b, TerminationStatus status) {
  CheckUi();
  if (router) router->OnRenderProcessTerminated(b);
  termination_status = status;
  url_at_termination = b->GetMainFrame() ? b->GetMainFrame()->GetURL().ToString() : "";
  ++terminations;
  Note("terminated " + std::to_string(status));
  if (reload_on_termination && !url_at_termination.empty())
    b->GetMainFrame()->LoadURL(url_at_termination);
}

bool TestClient::OnJSDialog(CefRefPtr<CefBrowser>, const CefString&, JSDialogType type,
                            const CefString& message, const CefString& def,
                            CefRefPtr<CefJSDialogCallback> callback, bool&) {
  CheckUi();
  Note("dialog " + std::to_string(type) + " " + message.ToString() + " [" + def.ToString() + "]");
  return on_dialog ? on_dialog(type, message.ToString(), callback) : false;
}

bool TestClient::OnBeforeUnloadDialog(CefRefPtr<CefBrowser>, const CefString&, bool,
                                      CefRefPtr<CefJSDialogCallback> callback) {
  CheckUi();
  Note("unloaddialog");
  return on_unload_dialog ? on_unload_dialog(callback) : false;
}

void TestClient::OnResetDialogState(CefRefPtr<CefBrowser>) {
  CheckUi();
  Note("resetdialog");
}

void TestClient::OnDialogClosed(CefRefPtr<CefBrowser>) {
  CheckUi();
  Note("dialogclosed");
}

void TestClient::OnBeforeContextMenu(CefRefPtr<CefBrowser>, CefRefPtr<CefFrame>,
                                     CefRefPtr<CefContextMenuParams> params,
                                     CefRefPtr<CefMenuModel> model) {
  CheckUi();
  Note("contextmenu " + std::to_string(params->GetXCoord()) + "," +
       std::to_string(params->GetYCoord()));
  model->Clear();
}

bool TestClient::RunContextMenu(CefRefPtr<CefBrowser>, CefRefPtr<CefFrame>,
                                CefRefPtr<CefContextMenuParams>, CefRefPtr<CefMenuModel>,
                                CefRefPtr<CefRunContextMenuCallback> cb) {
  cb->Cancel();
  return true;
}

bool TestClient::Create(const std::string& url, int width, int height) {
  CefWindowInfo info;
  info.x = g_window_x;
  info.y = g_window_y;
  info.width = width;
  info.height = height;
  CefBrowserSettings settings;
  if (!CefBrowserHost::CreateBrowser(info, this, url, settings, nullptr)) return false;
  return PumpUntil([&] { return after_created; }, 20000);
}

bool TestClient::Load(const std::string& url, int timeout_ms) {
  int ends = main_load_ends, errors = main_load_errors;
  browser->GetMainFrame()->LoadURL(url);
  if (!PumpUntil(
          [&] { return (main_load_ends > ends || main_load_errors > errors) && !loading; },
          timeout_ms))
    return false;
  // Chromium drops input until a page has painted once.
  if (main_load_ends > ends) Eval("1", 3000);
  static int frames = 0;
  std::string tag = "PAINTED" + std::to_string(++frames);
  browser->GetMainFrame()->ExecuteJavaScript(
      "requestAnimationFrame(() => requestAnimationFrame(() => console.log('" + tag + "')))", "", 0);
  // A window wholly covered by another does not paint; that is no failure of the load.
  if (main_load_ends > ends) WaitForLog(tag, 1500);
  return true;
}

bool TestClient::AwaitLoadEnd(const std::function<void()>& navigate, int timeout_ms) {
  const int ends = main_load_ends;
  navigate();
  return PumpUntil([&] { return main_load_ends > ends && !loading; }, timeout_ms);
}

std::vector<std::pair<std::string, int>> TestClient::AskedRequests() {
  std::lock_guard<std::mutex> l(mutex);
  return requests;
}

std::string TestClient::Eval(const std::string& expression, int timeout_ms) {
  static int counter = 0;
  std::string tag = "RESULT" + std::to_string(++counter) + ":";
  browser->GetMainFrame()->ExecuteJavaScript(
      "console.log('" + tag + "' + String((function(){ return " + expression + "; })()))",
      "", 0);
  std::string result = "<timeout>";
  PumpUntil(
      [&] {
        std::lock_guard<std::mutex> l(mutex);
        for (auto& c : console)
          if (c.compare(0, tag.size(), tag) == 0) {
            result = c.substr(tag.size());
            return true;
          }
        return false;
      },
      timeout_ms);
  return result;
}

void TestClient::Close() {
  if (!browser || before_close) return;
  browser->GetHost()->CloseBrowser(true);
  PumpUntil([&] { return before_close; }, 10000);
}

// ---- X

namespace {
Display* Dpy() {
  static Display* d = XOpenDisplay(nullptr);
  return d;
}
}  // namespace

bool WindowGeometry(unsigned long window, int* x, int* y, int* w, int* h, bool* mapped) {
  XWindowAttributes a;
  XSync(Dpy(), False);
  if (!XGetWindowAttributes(Dpy(), window, &a)) return false;
  *x = a.x;
  *y = a.y;
  *w = a.width;
  *h = a.height;
  *mapped = a.map_state == IsViewable;
  return true;
}

std::vector<unsigned long> WindowChildren(unsigned long window) {
  Window root, parent, *children = nullptr;
  unsigned int n = 0;
  std::vector<unsigned long> out;
  if (XQueryTree(Dpy(), window, &root, &parent, &children, &n)) {
    out.assign(children, children + n);
    if (children) XFree(children);
  }
  return out;
}

void ResizeWindow(unsigned long window, int w, int h) {
  XResizeWindow(Dpy(), window, w, h);
  XSync(Dpy(), False);
}

void LowerAndShapeWindow(unsigned long window) {
  XLowerWindow(Dpy(), window);
  XRectangle r = {0, 0, 100, 100};
  XShapeCombineRectangles(Dpy(), window, ShapeInput, 0, 0, &r, 1, ShapeSet, Unsorted);
  XSync(Dpy(), False);
}

int PixelsNotOfColour(unsigned long window, unsigned rgb) {
  XWindowAttributes a;
  XSync(Dpy(), False);
  if (!XGetWindowAttributes(Dpy(), window, &a)) return -1;
  XImage* image = XGetImage(Dpy(), window, 0, 0, a.width, a.height, AllPlanes, ZPixmap);
  if (!image) return -1;
  int others = 0;
  for (int y = 0; y < a.height; ++y)
    for (int x = 0; x < a.width; ++x)
      if ((XGetPixel(image, x, y) & 0xffffff) != rgb) ++others;
  XDestroyImage(image);
  return others;
}

namespace {
// The _NET_WM_PID of a window; 0 if it has none.
int WindowPid(unsigned long window) {
  Atom type;
  int format;
  unsigned long n, after;
  unsigned char* data = nullptr;
  int pid = 0;
  if (XGetWindowProperty(Dpy(), window, XInternAtom(Dpy(), "_NET_WM_PID", False), 0, 1, False,
                         XA_CARDINAL, &type, &format, &n, &after, &data) == Success &&
      data && n == 1)
    pid = static_cast<int>(*reinterpret_cast<unsigned long*>(data));
  if (data) XFree(data);
  return pid;
}
}  // namespace

int CountTopLevelsOf(int pid) {
  int count = 0;
  for (unsigned long w : WindowChildren(DefaultRootWindow(Dpy()))) {
    XWindowAttributes a;
    if (XGetWindowAttributes(Dpy(), w, &a) && a.map_state == IsViewable && WindowPid(w) == pid)
      ++count;
  }
  return count;
}

int ChromiumPidOf(unsigned long browser_window) {
  for (unsigned long w : WindowChildren(browser_window))
    if (int pid = WindowPid(w)) return pid;
  return 0;
}

namespace {
int ParentPid(int pid) {
  FILE* f = fopen(("/proc/" + std::to_string(pid) + "/stat").c_str(), "r");
  if (!f) return 0;
  char buf[1024];
  size_t n = fread(buf, 1, sizeof buf - 1, f);
  fclose(f);
  buf[n] = 0;
  const char* close_paren = strrchr(buf, ')');
  if (!close_paren) return 0;
  char state;
  int ppid = 0;
  sscanf(close_paren + 2, "%c %d", &state, &ppid);
  return ppid;
}
std::string Cmdline(int pid) {
  FILE* f = fopen(("/proc/" + std::to_string(pid) + "/cmdline").c_str(), "r");
  if (!f) return std::string();
  std::string out;
  char buf[4096];
  size_t n;
  while ((n = fread(buf, 1, sizeof buf, f)) > 0) out.append(buf, n);
  fclose(f);
  return out;
}
}  // namespace

std::vector<int> RendererPids(int chromium_pid) {
  std::vector<int> out;
  DIR* d = opendir("/proc");
  if (!d) return out;
  while (dirent* e = readdir(d)) {
    int pid = atoi(e->d_name);
    if (pid <= 0) continue;
    if (Cmdline(pid).find("--type=renderer") == std::string::npos) continue;
    for (int p = ParentPid(pid), depth = 0; p > 1 && depth < 5; p = ParentPid(p), ++depth) {
      if (p == chromium_pid) {
        out.push_back(pid);
        break;
      }
    }
  }
  closedir(d);
  return out;
}

void PressKey(CefRefPtr<CefBrowser> browser, int vk, char16_t ch, uint32_t modifiers) {
  CefKeyEvent e;
  e.windows_key_code = vk;
  e.native_key_code = vk;
  e.character = e.unmodified_character = ch;
  e.modifiers = modifiers;
  e.type = KEYEVENT_RAWKEYDOWN;
  browser->GetHost()->SendKeyEvent(e);
  e.type = KEYEVENT_CHAR;
  browser->GetHost()->SendKeyEvent(e);
  e.type = KEYEVENT_KEYUP;
  browser->GetHost()->SendKeyEvent(e);
}

void TypeText(CefRefPtr<CefBrowser> browser, const std::u16string& text) {
  for (char16_t ch : text) {
    int vk = 0;
    if (ch >= 'a' && ch <= 'z') vk = ch - 'a' + 'A';
    else if ((ch >= 'A' && ch <= 'Z') || (ch >= '0' && ch <= '9') || ch == ' ') vk = ch;
    PressKey(browser, vk, ch, (ch >= 'A' && ch <= 'Z') ? EVENTFLAG_SHIFT_DOWN : 0);
  }
}

void Click(CefRefPtr<CefBrowser> browser, int x, int y, int button) {
  CefMouseEvent e;
  e.x = x;
  e.y = y;
  MouseButtonType b = static_cast<MouseButtonType>(button);
  browser->GetHost()->SendMouseMoveEvent(e, false);
  browser->GetHost()->SendMouseClickEvent(e, b, false, 1);
  browser->GetHost()->SendMouseClickEvent(e, b, true, 0);
}

// ---- Page queries

void InstallRouter(CefRefPtr<TestClient> c, QueryHandler* h) {
  CefMessageRouterConfig config;
  config.js_query_function = "vexorQuery";
  config.js_cancel_function = "vexorQueryCancel";
  c->router = CefMessageRouterBrowserSide::Create(config);
  c->router->AddHandler(h, false);
}

}  // namespace testing_support
