// Shared pieces of the engine's contract tests: a loopback HTTP server, a recording client
// and a pump that runs the engine's UI work until something happens.
#ifndef VEXOR_CEF_TESTS_TEST_SUPPORT_H_
#define VEXOR_CEF_TESTS_TEST_SUPPORT_H_

#include <atomic>
#include <condition_variable>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include <cstdio>
#include <gtest/gtest.h>

#include "include/cef_app.h"
#include "include/cef_browser.h"
#include "include/cef_client.h"
#include "include/wrapper/cef_message_router.h"
#include "StressRounds.h"

namespace testing_support {

class HttpServer {
 public:
  struct Response {
    int status = 200;
    std::string type = "text/html; charset=utf-8";
    std::string body;
    int delay_ms = 0;
    std::string cache_control = "no-store";
  };
  HttpServer();
  ~HttpServer();
  int port() const { return port_; }
  std::string Url(const std::string& path) const;
  void Serve(const std::string& path, const std::string& body, int status = 200,
             const std::string& type = "text/html; charset=utf-8", int delay_ms = 0);
  // A page Chromium may keep in its caches, and show again from there.
  void ServeCacheable(const std::string& path, const std::string& body,
                      const std::string& type = "text/html; charset=utf-8");
  // Paths requested so far, in order (query strings included).
  std::vector<std::string> Requests();
  int CountRequests(const std::string& path_prefix);

 private:
  void Loop();
  void Handle(int fd);
  int listen_fd_ = -1;
  int port_ = 0;
  std::atomic<bool> stop_{false};
  std::thread thread_;
  std::mutex mutex_;
  std::condition_variable stopped_;  // stop_ set, or a connection ended
  std::set<int> open_fds_;
  std::map<std::string, Response> routes_;
  std::vector<std::string> requests_;
};

// Where this program's browser windows go: test programs run side by side on one X
// server, and a covered window neither paints nor takes input.
extern int g_window_x;
extern int g_window_y;

// Runs CefDoMessageLoopWork until done() or the timeout; true if done.
bool PumpUntil(const std::function<bool()>& done, int timeout_ms = 15000);
void PumpFor(int ms);

// From now on PumpUntil and PumpFor call CefDoMessageLoopWork only when AskForPump asked for
// it, as a host does that pumps the loop on the engine's request (external_message_pump).
void PumpOnlyWhenAsked();
// Thread-safe: a call of CefDoMessageLoopWork is wanted in delay_ms.
void AskForPump(int64 delay_ms);

// Starts the engine once for the test program; fails the test loudly without Chromium.
// The program's own Xlib error handler is installed first.
bool StartEngine(CefRefPtr<CefApp> app = nullptr, std::string* why = nullptr,
                 bool external_message_pump = false);
// A contract program's main after its set-up: its tests on an engine started for them, then
// shut down. Exits 1 at once, saying why, when the engine cannot start.
int RunTestsOnEngine(CefRefPtr<CefApp> app = nullptr, bool external_message_pump = false);
// Whether the process's Xlib error handler is still the one StartEngine installed.
bool ProgramXErrorHandlerInPlace();
std::string LauncherPath();
bool ChromiumPresent(std::string* path);

class TestClient : public CefClient,
                   public CefDisplayHandler,
                   public CefLifeSpanHandler,
                   public CefLoadHandler,
                   public CefRequestHandler,
                   public CefKeyboardHandler,
                   public CefJSDialogHandler,
                   public CefContextMenuHandler {
 public:
  CefRefPtr<CefDisplayHandler> GetDisplayHandler() override { return this; }
  CefRefPtr<CefLifeSpanHandler> GetLifeSpanHandler() override { return this; }
  CefRefPtr<CefLoadHandler> GetLoadHandler() override { return this; }
  CefRefPtr<CefRequestHandler> GetRequestHandler() override { return this; }
  CefRefPtr<CefKeyboardHandler> GetKeyboardHandler() override { return this; }
  CefRefPtr<CefJSDialogHandler> GetJSDialogHandler() override { return this; }
  CefRefPtr<CefContextMenuHandler> GetContextMenuHandler() override { return this; }
  bool OnProcessMessageReceived(CefRefPtr<CefBrowser> browser, CefProcessId source_process,
                                CefRefPtr<CefProcessMessage> message) override;
  bool OnPreKeyEvent(CefRefPtr<CefBrowser>, const CefKeyEvent& event, CefEventHandle,
                     bool*) override {
    ++pre_key_events;
    return swallow_key != 0 && event.windows_key_code == swallow_key;
  }
  int pre_key_events = 0;
  int swallow_key = 0;

  void OnAddressChange(CefRefPtr<CefBrowser>, CefRefPtr<CefFrame> frame,
                       const CefString& url) override;
  void OnTitleChange(CefRefPtr<CefBrowser>, const CefString& title) override;
  bool OnConsoleMessage(CefRefPtr<CefBrowser>, cef_log_severity_t level,
                        const CefString& message, const CefString& source, int line) override;
  void OnLoadingProgressChange(CefRefPtr<CefBrowser>, double progress) override;

  bool OnBeforePopup(CefRefPtr<CefBrowser>, CefRefPtr<CefFrame>, const CefString& target_url,
                     const CefString&, WindowOpenDisposition, bool, const CefPopupFeatures&,
                     CefWindowInfo&, CefRefPtr<CefClient>&, CefBrowserSettings&,
                     bool*) override;
  void OnAfterCreated(CefRefPtr<CefBrowser> browser) override;
  bool DoClose(CefRefPtr<CefBrowser> browser) override;
  void OnBeforeClose(CefRefPtr<CefBrowser> browser) override;

  void OnLoadingStateChange(CefRefPtr<CefBrowser>, bool isLoading, bool canGoBack,
                            bool canGoForward) override;
  void OnLoadStart(CefRefPtr<CefBrowser>, CefRefPtr<CefFrame> frame,
                   TransitionType transition_type) override;
  void OnLoadEnd(CefRefPtr<CefBrowser>, CefRefPtr<CefFrame> frame, int httpStatusCode) override;
  void OnLoadError(CefRefPtr<CefBrowser>, CefRefPtr<CefFrame> frame, ErrorCode errorCode,
                   const CefString& errorText, const CefString& failedUrl) override;

  bool OnBeforeBrowse(CefRefPtr<CefBrowser> browser, CefRefPtr<CefFrame> frame,
                      CefRefPtr<CefRequest> request, bool user_gesture,
                      bool is_redirect) override;
  ReturnValue OnBeforeResourceLoad(CefRefPtr<CefBrowser> browser, CefRefPtr<CefFrame> frame,
                                   CefRefPtr<CefRequest> request,
                                   CefRefPtr<CefRequestCallback> callback) override;
  bool GetRefusableRequests(CefRefusableRequests& refusable) override;
  void OnRenderProcessTerminated(CefRefPtr<CefBrowser> browser,
                                 TerminationStatus status) override;

  bool OnJSDialog(CefRefPtr<CefBrowser>, const CefString& origin_url, JSDialogType dialog_type,
                  const CefString& message_text, const CefString& default_prompt_text,
                  CefRefPtr<CefJSDialogCallback> callback, bool& suppress_message) override;
  bool OnBeforeUnloadDialog(CefRefPtr<CefBrowser>, const CefString& message_text,
                            bool is_reload, CefRefPtr<CefJSDialogCallback> callback) override;
  void OnResetDialogState(CefRefPtr<CefBrowser>) override;
  void OnDialogClosed(CefRefPtr<CefBrowser>) override;

  void OnBeforeContextMenu(CefRefPtr<CefBrowser>, CefRefPtr<CefFrame>,
                           CefRefPtr<CefContextMenuParams> params,
                           CefRefPtr<CefMenuModel> model) override;
  bool RunContextMenu(CefRefPtr<CefBrowser>, CefRefPtr<CefFrame>, CefRefPtr<CefContextMenuParams>,
                      CefRefPtr<CefMenuModel>, CefRefPtr<CefRunContextMenuCallback> cb) override;

  // Creates the browser and waits for OnAfterCreated.
  bool Create(const std::string& url, int width = 800, int height = 600);
  // Loads url in the main frame and waits for the main frame's OnLoadEnd or OnLoadError.
  bool Load(const std::string& url, int timeout_ms = 15000);
  // Runs script in the main frame and waits for its result, sent back as console.log(
  // "RESULT:" + value).
  std::string Eval(const std::string& expression, int timeout_ms = 10000);
  // Runs navigate (a history step, a reload) and waits for the main frame's next load end
  // with loading over.
  bool AwaitLoadEnd(const std::function<void()>& navigate, int timeout_ms = 15000);
  bool WaitForLog(const std::string& needle, int timeout_ms = 10000);
  bool HasLog(const std::string& needle);
  void Close();
  void ClearLog();
  std::vector<std::string> Log();
  // What OnBeforeResourceLoad was asked about: url, resource type.
  std::vector<std::pair<std::string, int>> AskedRequests();

  CefRefPtr<CefBrowser> browser;
  CefRefPtr<CefMessageRouterBrowserSide> router;
  std::mutex mutex;  // guards what the I/O thread touches
  std::vector<std::string> log;  // "event detail" lines
  std::vector<std::pair<std::string, int>> requests;  // url, resource type
  // What the client names as refusable when its browser is made; nothing: it asks about all.
  std::optional<CefRefusableRequests> refusable;
  std::vector<std::string> console;
  std::function<ReturnValue(CefRefPtr<CefRequest>)> on_request;  // I/O thread
  std::function<ReturnValue(CefRefPtr<CefRequest>, CefRefPtr<CefRequestCallback>)>
      on_request_async;  // I/O thread
  std::atomic<bool> request_thread_ok{true};
  std::function<bool(JSDialogType, const std::string&, CefRefPtr<CefJSDialogCallback>)> on_dialog;
  std::function<bool(CefRefPtr<CefJSDialogCallback>)> on_unload_dialog;
  std::function<bool(const std::string&)> on_popup;
  bool refuse_close = false;
  bool callbacks_on_ui = true;
  int main_load_ends = 0;
  int main_load_errors = 0;
  int last_status = -1;
  int last_error = 0;
  std::vector<double> progress;
  bool after_created = false;
  bool before_close = false;
  int termination_status = -1;
  std::string url_at_termination;
  bool reload_on_termination = false;  // load the shown page again, from the callback
  int terminations = 0;
  std::string title;
  bool loading = false;
  bool can_back = false;
  bool can_forward = false;

  IMPLEMENT_REFCOUNTING(TestClient);

 private:
  void Note(const std::string& line);
  void CheckUi();
};

// Reads the X geometry of a window: false if it does not exist.
bool WindowGeometry(unsigned long window, int* x, int* y, int* w, int* h, bool* mapped);
// Children of a window.
std::vector<unsigned long> WindowChildren(unsigned long window);
void ResizeWindow(unsigned long window, int w, int h);
// Lowers the window and gives it an input shape of its top-left 100x100 pixels.
void LowerAndShapeWindow(unsigned long window);
// How many pixels of a window, as the screen shows it, differ from the colour 0xRRGGBB; -1 if
// the window cannot be read.
int PixelsNotOfColour(unsigned long window, unsigned rgb);
// Mapped top-level windows of the given process (popups, menus and bubbles would be such;
// the engine keeps Chromium's browser windows inside its own).
int CountTopLevelsOf(int pid);
// The pid of the Chromium that shows this browser window, from its X window.
int ChromiumPidOf(unsigned long browser_window);
// Pids of the renderer processes below that Chromium.
std::vector<int> RendererPids(int chromium_pid);
// Types text as the plug-in does: raw key down, char, key up per UTF-16 unit.
void TypeText(CefRefPtr<CefBrowser> browser, const std::u16string& text);
void PressKey(CefRefPtr<CefBrowser> browser, int windows_key_code, char16_t character,
              uint32_t modifiers = 0);
void Click(CefRefPtr<CefBrowser> browser, int x, int y, int button = 0);

// Answers "ping" with "pong:<frame url>", holds "hold" forever, declines the rest.
class QueryHandler : public CefMessageRouterBrowserSide::Handler {
 public:
  // Here, not beside the X code, whose headers make "Success" a macro.
  bool OnQuery(CefRefPtr<CefBrowser>, CefRefPtr<CefFrame> frame, int64 query_id,
               const CefString& request, bool, CefRefPtr<Callback> callback) override {
    std::string r = request.ToString();
    frames.push_back(frame ? frame->GetURL().ToString() : "<none>");
    if (r == "ping") {
      callback->Success("pong:" + (frame ? frame->GetURL().ToString() : std::string()));
      return true;
    }
    if (r == "hold") {
      held = callback;
      held_id = query_id;
      return true;
    }
    return false;
  }
  void OnQueryCanceled(CefRefPtr<CefBrowser>, CefRefPtr<CefFrame>, int64 query_id) override {
    canceled.push_back(query_id);
  }
  std::vector<std::string> frames;
  CefRefPtr<Callback> held;
  int64 held_id = -1;
  std::vector<int64> canceled;
};

// Gives the client a router for vexorQuery/vexorQueryCancel that asks h.
void InstallRouter(CefRefPtr<TestClient> c, QueryHandler* h);

// A test with a new browser of its own, whose event log is printed when the test fails.
class Fresh : public ::testing::Test {
 protected:
  void SetUp() override {
    c = new TestClient;
    ASSERT_TRUE(c->Create("")) << "no OnAfterCreated";
  }
  void TearDown() override {
    if (HasFailure())
      for (auto& l : c->Log()) fprintf(stderr, "  | %s\n", l.c_str());
    c->Close();
  }
  CefRefPtr<TestClient> c;
};

}  // namespace testing_support

#endif
