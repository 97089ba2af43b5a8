// Process-wide engine state: the UI task queue, the Chromium connection, the browsers.
#ifndef VEXOR_CEF_SRC_ENGINE_H_
#define VEXOR_CEF_SRC_ENGINE_H_

#include <atomic>
#include <chrono>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "connection.h"
#include "include/cef_app.h"
#include "include/cef_client.h"
#include "json.h"
#include "ui_work_queue.h"
#include "x_windows.h"

namespace vexorcef {

class BrowserImpl;

// The host's own pump request (CefSetMessagePumpRequest): any thread.
void RequestHostPump(int64_t delay_ms);
void SetHostPumpRequest(std::function<void(int64)> request);

class Engine {
 public:
  static Engine* Get();  // null unless initialized

  bool Initialize(const CefMainArgs& args, const CefSettings& settings, CefRefPtr<CefApp> app);
  void Shutdown();
  // At process exit, on the thread that exits.
  void StopAtExit();

  // Thread-safe; the task runs in a later CefDoMessageLoopWork, which a host pumping the
  // loop on request (external_message_pump or CefSetMessagePumpRequest) is asked for.
  void PostUi(std::function<void()> task);
  void PostUiDelayed(int delay_ms, std::function<void()> task);
  void RunUiWork();
  bool OnUiThread() const { return std::this_thread::get_id() == ui_thread_; }

  // The live connection; after Chromium died, a dead one until the next start.
  std::shared_ptr<Connection> conn() {
    std::lock_guard<std::mutex> lock(conn_mutex_);
    return conn_;
  }
  bool chromium_alive() {
    auto c = conn();
    return c && c->alive();
  }
  XWindows& x() { return x_; }

  // UI thread.
  bool CreateBrowser(const CefWindowInfo& info, CefRefPtr<CefClient> client,
                     const std::string& url, bool is_popup, const std::string& popup_target,
                     const std::string& popup_session);
  void BrowserClosed(BrowserImpl* browser);
  void CreationDone(BrowserImpl* browser);
  // Brings Chromium back after it died; then every live browser gets a new page.
  void EnsureChromium();
  // The session of a page that attached before its createTarget answer came.
  std::string TakeEarlyAttach(const std::string& target);
  void RegisterRouter(const std::string& query_fn, const std::string& cancel_fn);
  const std::string& page_script() const { return page_script_; }
  const std::string& user_agent() const { return user_agent_; }
  const std::string& accept_language() const { return accept_language_; }

  // I/O thread: the session's browser, for request interception.
  CefRefPtr<BrowserImpl> BrowserForSession(const std::string& session);
  void MapSession(const std::string& session, BrowserImpl* browser);
  void UnmapSession(const std::string& session);

 private:
  bool StartChromium(std::string* error);
  std::shared_ptr<Connection> Spawn(std::string* error);
  void Adopt(std::shared_ptr<Connection> c, const Json& version);
  void RestartFailed(const std::string& why);
  // Ends Chromium, every engine thread (joined) and the temporary profile.
  void StopChromiumAndThreads();
  void RemoveTempProfile();
  void RemoveStaleProfiles();
  void OnIoEvent(const std::string& method, Json params, const std::string& session);
  void OnUiEvent(const std::string& method, const Json& params, const std::string& session);
  void OnChromiumDied(int wait_status);
  void StartNextCreation();

  std::thread::id ui_thread_;
  std::atomic<bool> exiting_{false};
  UiWorkQueue ui_work_;

  std::mutex conn_mutex_;
  std::shared_ptr<Connection> conn_;
  std::vector<std::shared_ptr<Connection>> dead_conns_;
  std::shared_ptr<Connection> starting_;  // a restarted Chromium not answering yet; UI thread
  bool restarting_ = false;
  XWindows x_;

  std::string launcher_;
  std::vector<std::string> switches_;
  std::vector<std::string> env_;
  std::string temp_profile_;
  std::string user_agent_;
  std::string accept_language_;
  std::string page_script_;
  int start_timeout_ms_ = 15000;
  CefRefPtr<CefApp> app_;

  int next_browser_id_ = 1;
  std::vector<CefRefPtr<BrowserImpl>> browsers_;  // UI thread
  std::deque<CefRefPtr<BrowserImpl>> creation_queue_;
  CefRefPtr<BrowserImpl> creating_;
  int creations_started_ = 0;
  std::map<std::string, std::string> early_attach_;  // targetId -> session
  std::map<BrowserImpl*, std::pair<std::string, std::string>> popup_args_;

  std::mutex session_mutex_;
  std::map<std::string, CefRefPtr<BrowserImpl>> sessions_;

  std::vector<std::pair<std::string, std::string>> routers_;
};

// A reference to a client object taken on the I/O thread. Client objects may be the host's
// UI objects, whose last reference must go on the UI thread: this one is handed back there.
template <typename T>
class UiReleasedRef {
 public:
  explicit UiReleasedRef(CefRefPtr<T> ref) : ref_(std::move(ref)) {}
  UiReleasedRef(const UiReleasedRef&) = delete;
  UiReleasedRef& operator=(const UiReleasedRef&) = delete;
  ~UiReleasedRef() {
    Engine* e = Engine::Get();
    // Moved, not copied: a copy left here could be the last, dropped on this thread after
    // the UI thread has already let go of its own.
    if (ref_ && e && !e->OnUiThread()) e->PostUi([ref = std::move(ref_)] {});
  }
  T* operator->() const { return ref_.get(); }
  explicit operator bool() const { return ref_ != nullptr; }

 private:
  CefRefPtr<T> ref_;
};

// Maps Chromium's network error name ("net::ERR_NAME_NOT_RESOLVED") to its number.
int NetErrorCode(const std::string& error_text);

// DOM key and code names for a Windows virtual-key code (US layout).
struct DomKey {
  std::string key;
  std::string code;
};
DomKey DomKeyFor(int windows_key_code, bool shift, char16_t character);
// CEF event flags to DevTools modifier bits.
int DevToolsModifiers(uint32_t cef_flags);

// Where the page script sends alert, confirm and prompt as a synchronous request, held
// until the client answers. No such host exists: the engine fulfils every request itself.
inline constexpr char kDialogUrl[] = "https://dialog.vexor-engine.invalid/";

std::string BuildPageScript();
std::string RouterScript(const std::string& query_fn, const std::string& cancel_fn);

}  // namespace vexorcef

#endif
