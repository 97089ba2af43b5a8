// One browser: its creation, sessions and event dispatch, closing and crashes.
#include "browser_impl.h"

#include <algorithm>
#include <unordered_map>

#include "browser_parts.h"
#include "log.h"
#include "values.h"

namespace vexorcef {

BrowserImpl::BrowserImpl(int id, CefRefPtr<CefClient> client, const CefWindowInfo& info,
                         bool is_popup)
    : id_(id), client_(client),
      request_handler_(client ? client->GetRequestHandler() : nullptr),
      held_requests_(RequestScope::For(request_handler_.get())), window_info_(info),
      is_popup_(is_popup) {}

BrowserImpl::~BrowserImpl() {}

UiReleasedRef<CefRequestHandler> BrowserImpl::RequestHandler() {
  std::lock_guard<std::mutex> l(mutex_);
  return UiReleasedRef<CefRequestHandler>(request_handler_);
}

std::string BrowserImpl::TargetId() {
  std::lock_guard<std::mutex> l(mutex_);
  return target_id_;
}

void BrowserImpl::SetTargetId(const std::string& id) {
  std::lock_guard<std::mutex> l(mutex_);
  target_id_ = id;
}

void BrowserImpl::Cmd(const std::string& method, Json params,
                      std::function<void(const Json&, const Json&)> cb,
                      const std::string& session) {
  Engine* e = Engine::Get();
  if (!e) return;
  std::shared_ptr<Connection> c = e->conn();
  std::string s = session.empty() ? session_ : session;
  Connection::Callback wrapped;
  if (cb) {
    CefRefPtr<BrowserImpl> self = this;
    wrapped = [cb, self](const Json& r, const Json& err) {
      if (Engine* eng = Engine::Get()) eng->PostUi([cb, r, err] { cb(r, err); });
    };
  }
  if (!c) {
    if (wrapped) wrapped(Json(), Json("Chromium is not running"));
    return;
  }
  c->Send(method, std::move(params), s, std::move(wrapped));
}

void BrowserImpl::BeginCreation(const std::string& popup_target,
                                const std::string& popup_session) {
  CefRefPtr<BrowserImpl> self = this;
  int w = window_info_.width > 0 ? window_info_.width : 1;
  int h = window_info_.height > 0 ? window_info_.height : 1;
  Engine::Get()->x().CreateContainer(
      window_info_.parent_window, window_info_.x, window_info_.y, w, h,
      CefString(&window_info_.window_name).ToString(),
      [self, popup_target, popup_session](unsigned long id) {
        Engine::Get()->PostUi([self, id, popup_target, popup_session] {
          self->container_ = id;
          if (!popup_session.empty()) {
            self->SetTargetId(popup_target);
            self->OnAttached(popup_session);
          } else {
            self->Recreate();
          }
        });
      });
}

void BrowserImpl::Recreate() {
  CefRefPtr<BrowserImpl> self = this;
  SetTargetId(std::string());
  session_ready_ = false;
  blank_start_ = true;
  Json p = Json::object();
  p.set("url", "about:blank");
  p.set("newWindow", true);
  p.set("left", 0);
  p.set("top", 0);
  p.set("width", std::max(100, static_cast<int>(window_info_.width)));
  p.set("height", std::max(100, static_cast<int>(window_info_.height)));
  Cmd("Target.createTarget", std::move(p),
      [self](const Json& r, const Json& err) {
        if (!err.isNull()) {
          self->OnTargetCreateFailed(err.isString() ? err.str() : err["message"].str());
          return;
        }
        self->SetTargetId(r["targetId"].str());
        std::string early = Engine::Get()->TakeEarlyAttach(self->target_id_);
        if (!early.empty()) self->OnAttached(early);
      },
      std::string());
}

void BrowserImpl::OnTargetCreateFailed(const std::string& why) {
  VLOG_ERROR("browser " << id_ << ": Chromium made no page: " << why);
  if (!created_) {
    // The window exists, so the browser still comes to life; a later load retries.
    WindowReady(0);
  }
}

void BrowserImpl::OnAttached(const std::string& session) {
  session_ = session;
  Engine::Get()->MapSession(session, this);
  SetupSession(session, true, "page");
}

void BrowserImpl::SetupSession(const std::string& session, bool main, const std::string& type) {
  CefRefPtr<BrowserImpl> self = this;
  Engine* e = Engine::Get();
  if (type == "page" || type == "iframe") {
    Cmd("Page.enable", Json::object(), nullptr, session);
    Cmd("Runtime.enable", Json::object(), nullptr, session);
    Cmd("Network.enable", Json::object(), nullptr, session);
    if (main) Cmd("Inspector.enable", Json::object(), nullptr, session);
    Cmd("Runtime.addBinding", Json::object().set("name", kBinding), nullptr, session);
    Cmd("Page.addScriptToEvaluateOnNewDocument",
        Json::object().set("source", e->page_script()), nullptr, session);
    if (!e->accept_language().empty()) {
      Json ua = Json::object();
      ua.set("userAgent", e->user_agent());
      ua.set("acceptLanguage", e->accept_language());
      Cmd("Network.setUserAgentOverride", std::move(ua), nullptr, session);
    }
  }
  Json patterns = held_requests_.FetchPatterns();
  if ((type == "page" || type == "iframe") && !held_requests_.HoldsEverything()) {
    // The page script's dialog questions wait for the client whatever the handler holds.
    Json dialog = Json::object();
    dialog.set("urlPattern", kDialogUrl + std::string("*"));
    dialog.set("requestStage", "Request");
    patterns.push(std::move(dialog));
  }
  if (patterns.size() > 0)
    Cmd("Fetch.enable", Json::object().set("patterns", std::move(patterns)), nullptr, session);
  Json aa = Json::object();
  aa.set("autoAttach", true);
  aa.set("waitForDebuggerOnStart", true);
  aa.set("flatten", true);
  Cmd("Target.setAutoAttach", std::move(aa), nullptr, session);
  Cmd("Runtime.runIfWaitingForDebugger", Json::object(),
      [self, main](const Json&, const Json&) {
        if (!main) return;
        self->session_ready_ = true;
        self->PlaceWindow();
      },
      session);
}

void BrowserImpl::PlaceWindow() {
  CefRefPtr<BrowserImpl> self = this;
  Cmd("Browser.getWindowForTarget", Json::object().set("targetId", target_id_),
      [self](const Json& r, const Json& err) {
        if (!err.isNull()) {
          self->WindowReady(0);
          return;
        }
        Json bounds = Json::object().set("windowState", "fullscreen");
        Json p = Json::object();
        p.set("windowId", r["windowId"]);
        p.set("bounds", bounds);
        // Full screen drops the tab strip and toolbar; X sets the size afterwards.
        self->Cmd("Browser.setWindowBounds", std::move(p),
                  [self](const Json&, const Json&) {
                    Engine* e = Engine::Get();
                    std::shared_ptr<Connection> c = e->conn();
                    if (!c) {
                      self->WindowReady(0);
                      return;
                    }
                    e->x().AdoptNewWindow(c->pid(), self->container_, 5000,
                                          [self](unsigned long w) {
                                            if (Engine* eng = Engine::Get())
                                              eng->PostUi([self, w] { self->WindowReady(w); });
                                          });
                  },
                  std::string());
      },
      std::string());
}

void BrowserImpl::WindowReady(unsigned long chromium_window) {
  chromium_window_ = chromium_window;
  Engine* e = Engine::Get();
  bool first = !created_;
  created_ = true;
  if (first) {
    if (client_) {
      if (CefRefPtr<CefLifeSpanHandler> h = client_->GetLifeSpanHandler()) h->OnAfterCreated(this);
    }
  }
  e->CreationDone(this);
  if (closing_) return;
  if (!pending_url_.empty() && !session_.empty()) {
    std::string url = pending_url_;
    pending_url_.clear();
    LoadUrlInFrame(url, std::string());
  }
}

bool BrowserImpl::IsSame(CefRefPtr<CefBrowser> that) {
  return that && that->GetIdentifier() == id_;
}

bool BrowserImpl::HasDocument() { return !session_.empty() && created_; }

void BrowserImpl::HandleEvent(const std::string& session, const std::string& method,
                              const Json& params) {
  using Handler = void (BrowserImpl::*)(const std::string& session, const Json& params);
  using LoadHandler = void (LoadTracker::*)(const Json& params);
  static const std::unordered_map<std::string, Handler> kHandlers = {
      {"Target.attachedToTarget", &BrowserImpl::OnChildAttached},
      {"Target.detachedFromTarget", &BrowserImpl::OnChildDetached},
      {"Page.frameAttached", &BrowserImpl::OnFrameAttached},
      {"Page.frameDetached", &BrowserImpl::OnFrameDetached},
      {"Runtime.executionContextCreated", &BrowserImpl::OnContextCreated},
      {"Runtime.executionContextDestroyed", &BrowserImpl::OnContextDestroyed},
      {"Runtime.executionContextsCleared", &BrowserImpl::OnContextsCleared},
      {"Page.frameStartedNavigating", &BrowserImpl::OnFrameStartedNavigating},
      {"Page.frameNavigated", &BrowserImpl::OnFrameNavigated},
      {"Page.navigatedWithinDocument", &BrowserImpl::OnNavigatedWithinDocument},
      {"Page.domContentEventFired", &BrowserImpl::OnDomContentLoaded},
      {"Page.loadEventFired", &BrowserImpl::OnLoadEventFired},
      {"Page.javascriptDialogOpening", &BrowserImpl::OnDialogOpening},
      {"Page.javascriptDialogClosed", &BrowserImpl::OnDialogClosed},
      {"Page.windowOpen", &BrowserImpl::OnWindowOpen},
      {"Runtime.bindingCalled", &BrowserImpl::OnBindingCalled},
      {"Runtime.consoleAPICalled", &BrowserImpl::OnConsoleMessage},
      {"Runtime.exceptionThrown", &BrowserImpl::OnConsoleMessage},
  };
  static const std::unordered_map<std::string, LoadHandler> kLoadHandlers = {
      {"Page.frameStartedLoading", &LoadTracker::OnFrameStartedLoading},
      {"Network.requestWillBeSent", &LoadTracker::OnRequestWillBeSent},
      {"Network.responseReceived", &LoadTracker::OnResponseReceived},
      {"Network.loadingFinished", &LoadTracker::OnRequestDone},
      {"Network.loadingFailed", &LoadTracker::OnRequestDone},
      {"Page.frameStoppedLoading", &LoadTracker::OnFrameStoppedLoading},
  };
  if (closed_) return;
  // The engine's blank start page is no load of the application's.
  if (blank_start_ && session == session_ &&
      (method.compare(0, 5, "Page.") == 0 || method.compare(0, 8, "Network.") == 0))
    return;
  auto it = kHandlers.find(method);
  if (it != kHandlers.end()) {
    (this->*(it->second))(session, params);
    return;
  }
  auto load = kLoadHandlers.find(method);
  if (load != kLoadHandlers.end()) (load_.*(load->second))(params);
}

void BrowserImpl::CloseBrowser(bool force_close) {
  CefRefPtr<BrowserImpl> self = this;
  auto task = [self, force_close] {
    if (self->closing_ || self->closed_) return;
    if (!force_close && !self->session_.empty() && Engine::Get()->chromium_alive()) {
      // Unload handlers run first; the page's end arrives as the target going away. An open
      // dialog would hold them.
      self->dialogs_.Reset();
      self->Cmd("Page.close", Json::object());
      return;
    }
    bool keep = false;
    if (self->client_) {
      if (CefRefPtr<CefLifeSpanHandler> h = self->client_->GetLifeSpanHandler())
        keep = h->DoClose(self.get());
    }
    if (!keep) self->Destroy();
  };
  if (Engine::Get()->OnUiThread()) task();
  else Engine::Get()->PostUi(task);
}

bool BrowserImpl::TryCloseBrowser() {
  CloseBrowser(false);
  return false;
}

void BrowserImpl::OnTargetGone() {
  if (closing_ || closed_) return;
  if (client_) {
    if (CefRefPtr<CefLifeSpanHandler> h = client_->GetLifeSpanHandler()) h->DoClose(this);
  }
  session_.clear();
  Destroy();
}

void BrowserImpl::Destroy() {
  if (closing_) return;
  closing_ = true;
  dialogs_.Reset();
  Engine* e = Engine::Get();
  if (!target_id_.empty() && !session_.empty())
    Cmd("Target.closeTarget", Json::object().set("targetId", target_id_), nullptr, std::string());
  CefRefPtr<BrowserImpl> self = this;
  // OnBeforeClose follows once the window is really gone.
  auto finish = [self] {
    Engine* eng = Engine::Get();
    if (!eng) return;
    if (!self->session_.empty()) eng->UnmapSession(self->session_);
    for (auto& s : self->child_sessions_) eng->UnmapSession(s);
    if (self->client_) {
      if (CefRefPtr<CefLifeSpanHandler> h = self->client_->GetLifeSpanHandler())
        h->OnBeforeClose(self.get());
    }
    self->closed_ = true;
    self->frames_.Close();
    {
      // As in CEF, a closed browser lets go of its client.
      std::lock_guard<std::mutex> l(self->mutex_);
      self->request_handler_ = nullptr;
    }
    self->client_ = nullptr;
    self->popups_.DropDecisions();
    eng->BrowserClosed(self.get());
  };
  if (container_) {
    e->x().DestroyContainer(container_, [finish] {
      if (Engine* eng = Engine::Get()) eng->PostUi(finish);
    });
  } else {
    e->PostUi(finish);
  }
}

void BrowserImpl::DropSessionState() {
  contexts_.Clear();
  dialogs_.Reset();
  frames_.RemoveAllBut(target_id_);
}

void BrowserImpl::OnCrashed(TerminationStatus status) {
  if (closed_) return;
  if (auto c = Engine::Get()->conn()) {
    c->FailSession(session_, "renderer gone");
    for (auto& s : child_sessions_) c->FailSession(s, "renderer gone");
  }
  DropSessionState();
  load_.PageGone();
  if (request_handler_) request_handler_->OnRenderProcessTerminated(this, status);
}

void BrowserImpl::OnChromiumGone(TerminationStatus status) {
  if (closed_ || closing_) return;
  Engine* e = Engine::Get();
  if (!session_.empty()) e->UnmapSession(session_);
  for (auto& s : child_sessions_) e->UnmapSession(s);
  child_sessions_.clear();
  session_.clear();
  session_ready_ = false;
  chromium_window_ = 0;
  DropSessionState();
  load_.PageGone();
  // The handler may still read the main frame's address, to load it again.
  if (request_handler_) request_handler_->OnRenderProcessTerminated(this, status);
  // A new page means new frames, the main one included.
  frames_.Clear();
}

}  // namespace vexorcef
