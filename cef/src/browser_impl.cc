#include "browser_impl.h"

#include <algorithm>
#include <cstdlib>

#include "browser_parts.h"
#include "log.h"
#include "values.h"

namespace vexorcef {

// ---------------------------------------------------------------------------------------
// BrowserImpl: creation

BrowserImpl::BrowserImpl(int id, CefRefPtr<CefClient> client, const CefWindowInfo& info,
                         bool is_popup)
    : id_(id), client_(client), window_info_(info), is_popup_(is_popup) {
  if (client_) request_handler_ = client_->GetRequestHandler();
}

BrowserImpl::~BrowserImpl() {}

CefRefPtr<CefRequestHandler> BrowserImpl::RequestHandler() {
  std::lock_guard<std::mutex> l(frames_mutex_);
  return request_handler_;
}

std::string BrowserImpl::TargetId() {
  std::lock_guard<std::mutex> l(frames_mutex_);
  return target_id_;
}

void BrowserImpl::SetTargetId(const std::string& id) {
  std::lock_guard<std::mutex> l(frames_mutex_);
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
  blank_start_ = true;
  history_floor_ = 1;
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
  if (request_handler_) {
    Json pattern = Json::object();
    pattern.set("urlPattern", "*");
    pattern.set("requestStage", "Request");
    Cmd("Fetch.enable", Json::object().set("patterns", Json::array().push(pattern)), nullptr,
        session);
  }
  Json aa = Json::object();
  aa.set("autoAttach", true);
  aa.set("waitForDebuggerOnStart", true);
  aa.set("flatten", true);
  Cmd("Target.setAutoAttach", std::move(aa), nullptr, session);
  Cmd("Runtime.runIfWaitingForDebugger", Json::object(),
      [self, main](const Json&, const Json&) {
        if (main) self->PlaceWindow();
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

// ---------------------------------------------------------------------------------------
// Navigation

void BrowserImpl::LoadUrlInFrame(const std::string& url, const std::string& frame_cdp_id) {
  if (closing_ || closed_) return;
  Engine* e = Engine::Get();
  if (session_.empty() || !e->chromium_alive()) {
    // Before the page exists, or after Chromium died: load once it is there.
    if (frame_cdp_id.empty()) pending_url_ = url;
    if (!e->chromium_alive()) e->EnsureChromium();
    return;
  }
  if (request_handler_ && frame_cdp_id.empty() && IsInternalPage(url)) {
    CefRefPtr<BrowserImpl> self = this;
    ScreenInternalPage(url, TT_EXPLICIT,
                       [self](const std::string& final_url) { self->Navigate(final_url, std::string()); });
    return;
  }
  Navigate(url, frame_cdp_id);
}

void BrowserImpl::ScreenInternalPage(const std::string& url, TransitionType transition,
                                     std::function<void(const std::string&)> go) {
  // Chromium never offers internal pages for interception, and they load too fast to stop
  // once started: ask the handler first, on the I/O thread as for any request.
  CefRefPtr<BrowserImpl> self = this;
  Engine::Get()->conn()->PostIo([self, url, transition, go] {
    CefRefPtr<RequestImpl> req = new RequestImpl(url, "GET", std::string(), RT_MAIN_FRAME, transition);
    struct Answer : public CefRequestCallback {
      void Continue(bool) override {}
      void Cancel() override {}
      IMPLEMENT_REFCOUNTING(Answer);
    };
    CefRefPtr<CefRequestHandler> handler = self->RequestHandler();
    ReturnValue rv = handler ? handler->OnBeforeResourceLoad(self.get(), self->GetMainFrame(),
                                                             req.get(), new Answer)
                             : RV_CANCEL;
    std::string final_url = req->url();
    bool allowed = rv == RV_CONTINUE;
    Engine::Get()->PostUi([self, allowed, final_url, url, go] {
      if (!allowed) {
        self->ReportLoadError(std::string(), self->target_id_, "net::ERR_BLOCKED_BY_CLIENT", url);
        return;
      }
      {
        std::lock_guard<std::mutex> l(self->nav_mutex_);
        self->approved_url_ = final_url;
      }
      go(final_url);
    });
  });
}

void BrowserImpl::Navigate(const std::string& url, const std::string& frame_cdp_id) {
  CefRefPtr<BrowserImpl> self = this;
  blank_start_ = false;
  Json p = Json::object();
  p.set("url", url);
  if (!frame_cdp_id.empty()) p.set("frameId", frame_cdp_id);
  std::string frame = frame_cdp_id.empty() ? target_id_ : frame_cdp_id;
  transition_[frame] = TT_EXPLICIT;
  if (frame == target_id_) main_committed_ = false;
  Cmd("Page.navigate", std::move(p), [self, url, frame](const Json& r, const Json& err) {
    if (!err.isNull()) return;
    std::string text = r["errorText"].str();
    if (!text.empty()) self->ReportLoadError(r["loaderId"].str(), frame, text, url);
  });
}

void BrowserImpl::ReportLoadError(const std::string& loader, const std::string& frame_cdp_id,
                                  const std::string& error_text, const std::string& url) {
  if (!loader.empty()) {
    if (failed_loaders_.count(loader)) return;
    failed_loaders_.insert(loader);
  }
  error_frames_.insert(frame_cdp_id);
  if (!client_) return;
  if (CefRefPtr<CefLoadHandler> h = client_->GetLoadHandler()) {
    h->OnLoadError(this, FrameFor(frame_cdp_id).get(),
                   static_cast<cef_errorcode_t>(NetErrorCode(error_text)), error_text, url);
  }
}

void BrowserImpl::RefreshHistory(std::function<void()> then) {
  CefRefPtr<BrowserImpl> self = this;
  Cmd("Page.getNavigationHistory", Json::object(), [self, then](const Json& r, const Json& err) {
    if (err.isNull()) {
      long long cur = r["currentIndex"].integer();
      long long n = static_cast<long long>(r["entries"].size());
      self->can_back_ = cur > self->history_floor_;
      self->can_forward_ = cur + 1 < n;
    }
    if (then) then();
  });
}

void BrowserImpl::SetLoading(bool loading) {
  if (loading == loading_) return;
  loading_ = loading;
  if (!client_) return;
  if (CefRefPtr<CefLoadHandler> h = client_->GetLoadHandler())
    h->OnLoadingStateChange(this, loading_, can_back_, can_forward_);
}

void BrowserImpl::ReportProgress(double p, bool force) {
  if (p < progress_ && !force) return;
  if (p > 1) p = 1;
  if (!force && p - progress_ < 0.02 && p < 1) return;
  progress_ = p;
  if (!client_) return;
  if (CefRefPtr<CefDisplayHandler> h = client_->GetDisplayHandler())
    h->OnLoadingProgressChange(this, p);
}

void BrowserImpl::NavigateHistory(int delta) {
  CefRefPtr<BrowserImpl> self = this;
  Cmd("Page.getNavigationHistory", Json::object(), [self, delta](const Json& r, const Json& err) {
    if (!err.isNull()) return;
    long long idx = r["currentIndex"].integer() + delta;
    const Json& entries = r["entries"];
    if (idx < self->history_floor_ || idx >= static_cast<long long>(entries.size())) return;
    const Json& entry = entries[static_cast<size_t>(idx)];
    const auto transition = static_cast<TransitionType>(TT_EXPLICIT | TT_FORWARD_BACK_FLAG);
    const std::string url = entry["url"].str();
    auto go = [self, transition, id = entry["id"], url](const std::string& final_url) {
      if (final_url != url) {
        self->Navigate(final_url, std::string());  // rewritten by the handler: a new load
        return;
      }
      self->transition_[self->target_id_] = transition;
      self->Cmd("Page.navigateToHistoryEntry", Json::object().set("entryId", id));
    };
    if (self->request_handler_ && IsInternalPage(url))
      self->ScreenInternalPage(url, transition, go);
    else
      go(url);
  });
}

bool BrowserImpl::CanGoBack() { return can_back_; }
bool BrowserImpl::CanGoForward() { return can_forward_; }
bool BrowserImpl::IsLoading() { return loading_; }
bool BrowserImpl::HasDocument() { return !session_.empty() && created_; }

void BrowserImpl::GoBack() {
  CefRefPtr<BrowserImpl> self = this;
  Engine::Get()->PostUi([self] { self->NavigateHistory(-1); });
}
void BrowserImpl::GoForward() {
  CefRefPtr<BrowserImpl> self = this;
  Engine::Get()->PostUi([self] { self->NavigateHistory(1); });
}
void BrowserImpl::Reload() { ReloadPage(false); }
void BrowserImpl::ReloadIgnoreCache() { ReloadPage(true); }

void BrowserImpl::ReloadPage(bool ignore_cache) {
  CefRefPtr<BrowserImpl> self = this;
  Engine::Get()->PostUi([self, ignore_cache] {
    CefRefPtr<CefFrame> f = self->GetMainFrame();
    std::string url = f ? static_cast<FrameImpl*>(f.get())->url() : std::string();
    if (!Engine::Get()->chromium_alive()) {
      if (!url.empty()) self->LoadUrlInFrame(url, std::string());
      return;
    }
    auto go = [self, ignore_cache, url](const std::string& final_url) {
      if (final_url != url) {
        self->Navigate(final_url, std::string());
        return;
      }
      self->transition_[self->target_id_] = TT_RELOAD;
      self->Cmd("Page.reload", Json::object().set("ignoreCache", ignore_cache));
    };
    if (self->request_handler_ && IsInternalPage(url))
      self->ScreenInternalPage(url, TT_RELOAD, go);
    else
      go(url);
  });
}
void BrowserImpl::StopLoad() { Cmd("Page.stopLoading", Json::object()); }

bool BrowserImpl::IsSame(CefRefPtr<CefBrowser> that) {
  return that && that->GetIdentifier() == id_;
}

CefRefPtr<FrameImpl> BrowserImpl::FrameFor(const std::string& cdp_id) {
  std::lock_guard<std::mutex> l(frames_mutex_);
  std::string id = cdp_id.empty() ? target_id_ : cdp_id;
  auto it = frames_.find(id);
  if (it != frames_.end()) return it->second;
  CefRefPtr<FrameImpl> f = new FrameImpl(this, id, id == target_id_);
  if (!closed_) frames_[id] = f;
  else f->Invalidate();
  return f;
}

CefRefPtr<CefFrame> BrowserImpl::GetMainFrame() {
  std::string target = TargetId();
  if (target.empty()) {
    // No page yet: a main frame that stays the main frame once the page exists.
    std::lock_guard<std::mutex> l(frames_mutex_);
    auto it = frames_.find(std::string());
    if (it != frames_.end()) return it->second.get();
    CefRefPtr<FrameImpl> f = new FrameImpl(this, std::string(), true);
    frames_[std::string()] = f;
    return f.get();
  }
  return FrameFor(target).get();
}

CefRefPtr<CefFrame> BrowserImpl::GetFocusedFrame() {
  return focused_frame_.empty() ? GetMainFrame() : FrameFor(focused_frame_).get();
}

CefRefPtr<CefFrame> BrowserImpl::GetFrame(int64 identifier) {
  std::lock_guard<std::mutex> l(frames_mutex_);
  for (auto& f : frames_)
    if (f.second->GetIdentifier() == identifier) return f.second.get();
  return nullptr;
}

CefRefPtr<CefFrame> BrowserImpl::GetFrame(const CefString& name) {
  std::lock_guard<std::mutex> l(frames_mutex_);
  for (auto& f : frames_)
    if (f.second->GetName() == name) return f.second.get();
  return nullptr;
}

size_t BrowserImpl::GetFrameCount() {
  std::lock_guard<std::mutex> l(frames_mutex_);
  return frames_.size();
}

void BrowserImpl::GetFrameIdentifiers(std::vector<int64>& identifiers) {
  std::lock_guard<std::mutex> l(frames_mutex_);
  identifiers.clear();
  for (auto& f : frames_) identifiers.push_back(f.second->GetIdentifier());
}

void BrowserImpl::ExecuteInFrame(const std::string& frame_cdp_id, const std::string& code) {
  std::string frame = frame_cdp_id.empty() ? target_id_ : frame_cdp_id;
  for (auto& c : contexts_) {
    if (c.second.is_default && c.second.frame == frame) {
      Json p = Json::object();
      p.set("expression", code);
      p.set("uniqueContextId", c.first);
      Cmd("Runtime.evaluate", std::move(p), nullptr, c.second.session);
      return;
    }
  }
  if (frame == target_id_) Cmd("Runtime.evaluate", Json::object().set("expression", code));
}

void BrowserImpl::EvaluateInDocuments(const std::string& expression) {
  CefRefPtr<BrowserImpl> self = this;
  auto task = [self, expression] {
    for (auto& c : self->contexts_) {
      if (!c.second.is_default) continue;
      Json p = Json::object();
      p.set("expression", expression);
      p.set("uniqueContextId", c.first);
      self->Cmd("Runtime.evaluate", std::move(p), nullptr, c.second.session);
    }
  };
  if (Engine::Get()->OnUiThread()) task();
  else Engine::Get()->PostUi(task);
}

bool BrowserImpl::SendProcessMessage(CefProcessId target_process,
                                     CefRefPtr<CefProcessMessage> message) {
  if (target_process != PID_RENDERER || !message) return false;
  EvaluateInDocuments("window.__vexorEngineDeliver&&window.__vexorEngineDeliver(" +
                      ProcessMessageToJson(message).dump() + ")");
  return true;
}

void BrowserImpl::AddRouterScript(const std::string& script) {
  std::vector<std::string> sessions;
  if (!session_.empty()) sessions.push_back(session_);
  for (auto& s : child_sessions_) sessions.push_back(s);
  for (auto& s : sessions)
    Cmd("Page.addScriptToEvaluateOnNewDocument", Json::object().set("source", script), nullptr, s);
  for (auto& c : contexts_) {
    if (!c.second.is_default) continue;
    Json p = Json::object();
    p.set("expression", script);
    p.set("uniqueContextId", c.first);
    Cmd("Runtime.evaluate", std::move(p), nullptr, c.second.session);
  }
}

// ---------------------------------------------------------------------------------------
// Closing, crashes

void BrowserImpl::CloseBrowser(bool force_close) {
  CefRefPtr<BrowserImpl> self = this;
  auto task = [self, force_close] {
    if (self->closing_ || self->closed_) return;
    if (!force_close && !self->session_.empty() && Engine::Get()->chromium_alive()) {
      // Unload handlers run first; the page's end arrives as the target going away.
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
  ResetDialog();
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
    {
      // As in CEF, a closed browser lets go of its client.
      std::lock_guard<std::mutex> l(self->frames_mutex_);
      for (auto& f : self->frames_) f.second->Invalidate();
      self->frames_.clear();
      self->request_handler_ = nullptr;
    }
    self->client_ = nullptr;
    self->dialog_ = nullptr;
    self->popup_decisions_.clear();
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
  contexts_.clear();
  context_ids_.clear();
  doc_requests_.clear();
  ResetDialog();
  std::lock_guard<std::mutex> l(frames_mutex_);
  for (auto it = frames_.begin(); it != frames_.end();) {
    if (it->first != target_id_) {
      it->second->Invalidate();
      it = frames_.erase(it);
    } else {
      ++it;
    }
  }
}

void BrowserImpl::OnCrashed(TerminationStatus status) {
  if (closed_) return;
  if (auto c = Engine::Get()->conn()) {
    c->FailSession(session_, "renderer gone");
    for (auto& s : child_sessions_) c->FailSession(s, "renderer gone");
  }
  DropSessionState();
  error_frames_.clear();
  SetLoading(false);
  if (request_handler_) request_handler_->OnRenderProcessTerminated(this, status);
}

void BrowserImpl::OnChromiumGone(TerminationStatus status) {
  if (closed_ || closing_) return;
  Engine* e = Engine::Get();
  if (!session_.empty()) e->UnmapSession(session_);
  for (auto& s : child_sessions_) e->UnmapSession(s);
  child_sessions_.clear();
  session_.clear();
  chromium_window_ = 0;
  DropSessionState();
  SetLoading(false);
  // The handler may still read the main frame's address, to load it again.
  if (request_handler_) request_handler_->OnRenderProcessTerminated(this, status);
  {
    // A new page means new frames, the main one included.
    std::lock_guard<std::mutex> l(frames_mutex_);
    for (auto& f : frames_) f.second->Invalidate();
    frames_.clear();
  }
}

}  // namespace vexorcef
