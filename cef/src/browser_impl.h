// One browser: a page target in Chromium, shown in an X window the engine owns.
#ifndef VEXOR_CEF_SRC_BROWSER_IMPL_H_
#define VEXOR_CEF_SRC_BROWSER_IMPL_H_

#include <atomic>
#include <functional>
#include <mutex>
#include <optional>
#include <set>
#include <string>

#include "dialog_broker.h"
#include "engine.h"
#include "execution_contexts.h"
#include "frame_impl.h"
#include "frame_tree.h"
#include "include/cef_browser.h"
#include "include/cef_client.h"
#include "json.h"
#include "load_tracker.h"
#include "popup_broker.h"
#include "request_scope.h"

namespace vexorcef {

class BrowserImpl : public CefBrowser, public CefBrowserHost, private LoadTracker::Page {
 public:
  BrowserImpl(int id, CefRefPtr<CefClient> client, const CefWindowInfo& info, bool is_popup);
  ~BrowserImpl() override;

  // CefBrowser
  CefRefPtr<CefBrowserHost> GetHost() override { return this; }
  bool CanGoBack() override;
  void GoBack() override;
  bool CanGoForward() override;
  void GoForward() override;
  bool IsLoading() override;
  void Reload() override;
  void ReloadIgnoreCache() override;
  void StopLoad() override;
  int GetIdentifier() override { return id_; }
  bool IsSame(CefRefPtr<CefBrowser> that) override;
  bool IsPopup() override { return is_popup_; }
  bool HasDocument() override;
  CefRefPtr<CefFrame> GetMainFrame() override;
  CefRefPtr<CefFrame> GetFocusedFrame() override;
  CefRefPtr<CefFrame> GetFrame(int64 identifier) override;
  CefRefPtr<CefFrame> GetFrame(const CefString& name) override;
  size_t GetFrameCount() override;
  void GetFrameIdentifiers(std::vector<int64>& identifiers) override;
  bool SendProcessMessage(CefProcessId target_process,
                          CefRefPtr<CefProcessMessage> message) override;

  // CefBrowserHost
  CefRefPtr<CefBrowser> GetBrowser() override { return this; }
  void CloseBrowser(bool force_close) override;
  bool TryCloseBrowser() override;
  void SetFocus(bool focus) override { SendFocusEvent(focus); }
  CefWindowHandle GetWindowHandle() override { return closed_ ? 0 : container_.load(); }
  CefWindowHandle GetOpenerWindowHandle() override { return 0; }
  CefRefPtr<CefClient> GetClient() override { return closed_ ? nullptr : client_; }
  CefRefPtr<CefRequestContext> GetRequestContext() override { return nullptr; }
  void WasResized() override {}
  void SendKeyEvent(const CefKeyEvent& event) override;
  void SendMouseClickEvent(const CefMouseEvent& event, MouseButtonType type, bool mouseUp,
                           int clickCount) override;
  void SendMouseMoveEvent(const CefMouseEvent& event, bool mouseLeave) override;
  void SendMouseWheelEvent(const CefMouseEvent& event, int deltaX, int deltaY) override;
  void SendFocusEvent(bool setFocus) override;

  // Engine side (UI thread unless noted).
  void BeginCreation(const std::string& popup_target, const std::string& popup_session);
  void Recreate();  // after Chromium came back
  const std::string& target_id() const { return target_id_; }
  const std::string& main_session() const { return session_; }
  bool closed() const { return closed_; }
  void OnAttached(const std::string& session);
  void OnTargetCreateFailed(const std::string& why);
  // Hands a DevTools event of one of the browser's sessions to its handler.
  void HandleEvent(const std::string& session, const std::string& method, const Json& params);
  void OnCrashed(TerminationStatus status);
  void OnChromiumGone(TerminationStatus status);
  void OnTargetGone();
  void OnPopupAttached(const std::string& session, const std::string& target_id);
  void SuppressPopup(const std::string& session, const std::string& target_id);
  void AddRouterScript(const std::string& script);
  void LoadUrlInFrame(const std::string& url, const std::string& frame_cdp_id);
  void ExecuteInFrame(const std::string& frame_cdp_id, const std::string& code);
  void EvaluateIn(const ExecutionContexts::Document& document, const std::string& expression);
  CefRefPtr<FrameImpl> FrameFor(const std::string& cdp_id);  // any thread; makes it if new
  std::string pending_url() const { return pending_url_; }
  // Any thread. The UI thread, the only writer, may read target_id_ directly.
  std::string TargetId();
  void SetTargetId(const std::string& id);

  // I/O thread.
  void OnRequestPaused(const std::string& session, const Json& params);
  void OnNavigationStarting(const std::string& session, const Json& params);
  void HandlePaused(const std::string& session, const Json& params);
  // A question of the page script's dialogs, held until the client answers it.
  void OnDialogRequest(const std::string& session, const Json& params);

  // Evaluates an expression in the default world of every document; any thread.
  void EvaluateInDocuments(const std::string& expression);

  // Sends on the main session (or session); cb, if any, runs on the UI thread.
  void Cmd(const std::string& method, Json params,
           std::function<void(const Json&, const Json&)> cb = nullptr,
           const std::string& session = std::string());

 private:
  void SetupSession(const std::string& session, bool main, const std::string& type);
  void PlaceWindow();
  void WindowReady(unsigned long chromium_window);
  void Navigate(const std::string& url, const std::string& frame_cdp_id);
  // Whether the handler is asked about a page interception never sees before it loads; any
  // thread.
  bool ScreensPage(const std::string& url) const;
  // Asks the request handler about a main-frame load of a page that interception never
  // sees before it starts, then calls go with the (possibly rewritten) address, or reports
  // the load as blocked.
  void ScreenUninterceptedPage(const std::string& url, TransitionType transition,
                               std::function<void(const std::string&)> go);
  // LoadTracker::Page: what load_ decides goes to the client's load and display handlers.
  const std::string& MainFrameId() const override { return target_id_; }
  std::string MainFrameUrl() override;
  void LoadingStateChanged(bool loading, bool can_go_back, bool can_go_forward) override;
  void ProgressChanged(double progress) override;
  void TitleChanged(const std::string& title) override;
  void MainAddressChanged(const std::string& url) override;
  void LoadStarted(const std::string& frame_id, TransitionType transition) override;
  void LoadEnded(const std::string& frame_id, int http_status) override;
  void LoadFailed(const std::string& frame_id, const std::string& error_text,
                  const std::string& url) override;
  void ReadHistory(std::function<void(std::optional<LoadTracker::HistoryPosition>)> answer)
      override;
  void ReadTitle(std::function<void(std::optional<std::string>)> answer) override;
  // Event handlers, by what they keep: the frame tree,
  void OnChildAttached(const std::string& session, const Json& params);
  void OnChildDetached(const std::string& session, const Json& params);
  void OnFrameAttached(const std::string& session, const Json& params);
  void OnFrameDetached(const std::string& session, const Json& params);
  void OnContextCreated(const std::string& session, const Json& params);
  void OnContextDestroyed(const std::string& session, const Json& params);
  void OnContextsCleared(const std::string& session, const Json& params);
  // load tracking (load_ takes the rest),
  void OnFrameStartedNavigating(const std::string& session, const Json& params);
  void OnFrameNavigated(const std::string& session, const Json& params);
  void OnNavigatedWithinDocument(const std::string& session, const Json& params);
  void OnDomContentLoaded(const std::string& session, const Json& params);
  void OnLoadEventFired(const std::string& session, const Json& params);
  // dialogs,
  void OnDialogOpening(const std::string& session, const Json& params);
  void OfferDialog(const std::string& type, const std::string& origin_url,
                   const std::string& message, const std::string& default_text,
                   CefRefPtr<JSDialogCallbackImpl> cb);
  void OnDialogClosed(const std::string& session, const Json& params);
  // popups,
  void OnWindowOpen(const std::string& session, const Json& params);
  // and the page script's and console's messages.
  void OnBindingCalled(const std::string& session, const Json& params);
  void OnConsoleMessage(const std::string& session, const Json& params);
 public:
  void DialogLost(JSDialogCallbackImpl* cb);
 private:
  void OnScriptOpen(const std::string& frame_cdp_id, const Json& msg);
  void OnContextMenu(const std::string& frame_cdp_id, const Json& msg);
  void Destroy();
  void DropSessionState();
  void NavigateHistory(int delta);
  void ReloadPage(bool ignore_cache);
  // Lets a document popups_ held go on, or fails it.
  void ReleaseHeld(const std::string& frame_id, bool fail);

  const int id_;
  CefRefPtr<CefClient> client_;
  // Written on the UI thread under mutex_, read under it on others: request_handler_ and
  // target_id_.
  std::mutex mutex_;
  CefRefPtr<CefRequestHandler> request_handler_;
  UiReleasedRef<CefRequestHandler> RequestHandler();
  const RequestScope held_requests_;  // what Chromium holds for the handler; any thread
  CefWindowInfo window_info_;
  const bool is_popup_;

  std::atomic<unsigned long> container_{0};
  unsigned long chromium_window_ = 0;
  std::string target_id_;
  std::string session_;
  bool session_ready_ = false;  // its domains are on: the page ran past its debugger wait
  std::set<std::string> child_sessions_;
  bool created_ = false;
  bool closing_ = false;
  std::atomic<bool> closed_{false};
  // The about:blank a new page starts with is the engine's, not the application's.
  bool blank_start_ = true;
  std::string pending_url_;

  // What the browser keeps, by concern; only frames_ may be used off the UI thread.
  LoadTracker load_{*this};
  FrameTree frames_{this};
  ExecutionContexts contexts_;
  DialogBroker dialogs_{this, [this] {
    return client_ ? client_->GetJSDialogHandler() : nullptr;
  }};
  PopupBroker popups_;

  char16_t high_surrogate_ = 0;  // of a key's character that comes in two halves

  std::mutex nav_mutex_;
  std::string approved_url_;  // a LoadURL the handler already allowed

  IMPLEMENT_REFCOUNTING(BrowserImpl);
};

}  // namespace vexorcef

#endif
