#include "browser_impl.h"

#include <algorithm>
#include <cstdlib>

#include "include/cef_context_menu_handler.h"
#include "include/cef_jsdialog_handler.h"
#include "include/cef_request.h"
#include "include/cef_request_handler.h"
#include "log.h"
#include "values.h"

namespace vexorcef {

namespace {

std::atomic<int64> g_next_frame_id{1};
std::atomic<uint64> g_next_request_id{1};

const char kBinding[] = "__vexorEngine";

bool StartsWith(const std::string& s, const char* prefix) {
  return s.compare(0, std::char_traits<char>::length(prefix), prefix) == 0;
}

// Top-level pages Chromium serves itself, which request interception never sees.
bool IsInternalPage(const std::string& url) {
  return StartsWith(url, "chrome:") || StartsWith(url, "chrome-untrusted:") ||
         StartsWith(url, "devtools:") || StartsWith(url, "chrome-search:") ||
         (StartsWith(url, "about:") && url != "about:blank" && url != "about:srcdoc");
}

cef_resource_type_t ResourceTypeFor(const std::string& type, bool main_frame,
                                    const std::string& url) {
  if (type == "Document") return main_frame ? RT_MAIN_FRAME : RT_SUB_FRAME;
  if (type == "Stylesheet") return RT_STYLESHEET;
  if (type == "Script") return RT_SCRIPT;
  if (type == "Image") return RT_IMAGE;
  if (type == "Font") return RT_FONT_RESOURCE;
  if (type == "Media" || type == "TextTrack") return RT_MEDIA;
  if (type == "XHR" || type == "Fetch" || type == "EventSource") return RT_XHR;
  if (type == "Prefetch") return RT_PREFETCH;
  if (type == "Ping") return RT_PING;
  if (type == "CSPViolationReport") return RT_CSP_REPORT;
  if (type == "Other") {
    size_t q = url.find_first_of("?#");
    std::string path = url.substr(0, q);
    if (path.size() >= 12 && path.compare(path.size() - 12, 12, "/favicon.ico") == 0)
      return RT_FAVICON;
  }
  return RT_SUB_RESOURCE;
}

class RequestImpl : public CefRequest {
 public:
  RequestImpl() : id_(g_next_request_id++) {}
  RequestImpl(const std::string& url, const std::string& method, const std::string& referrer,
              cef_resource_type_t type, cef_transition_type_t transition)
      : id_(g_next_request_id++), url_(url), method_(method), referrer_(referrer), type_(type),
        transition_(transition) {}

  bool IsReadOnly() override { return false; }
  CefString GetURL() override { std::lock_guard<std::mutex> l(m_); return url_; }
  void SetURL(const CefString& url) override {
    std::lock_guard<std::mutex> l(m_);
    url_ = url.ToString();
  }
  CefString GetMethod() override { std::lock_guard<std::mutex> l(m_); return method_; }
  void SetMethod(const CefString& method) override {
    std::lock_guard<std::mutex> l(m_);
    method_ = method.ToString();
  }
  CefString GetReferrerURL() override { return referrer_; }
  ResourceType GetResourceType() override { return type_; }
  TransitionType GetTransitionType() override { return transition_; }
  uint64 GetIdentifier() override { return id_; }
  std::string url() { std::lock_guard<std::mutex> l(m_); return url_; }

 private:
  const uint64 id_;
  std::mutex m_;
  std::string url_;
  std::string method_ = "GET";
  std::string referrer_;
  cef_resource_type_t type_ = RT_SUB_RESOURCE;
  cef_transition_type_t transition_ = TT_EXPLICIT;
  IMPLEMENT_REFCOUNTING(RequestImpl);
};

// Answers one paused request exactly once.
class RequestCallbackImpl : public CefRequestCallback {
 public:
  RequestCallbackImpl(std::shared_ptr<Connection> conn, const std::string& session,
                      const std::string& request_id, CefRefPtr<RequestImpl> request,
                      const std::string& original_url)
      : conn_(conn), session_(session), request_id_(request_id), request_(request),
        original_url_(original_url) {}
  ~RequestCallbackImpl() override {
    // A callback dropped unanswered would leave the page waiting forever.
    if (!done_.load()) Continue(false);
  }

  void Continue(bool allow) override {
    if (done_.exchange(true)) return;
    Json p = Json::object();
    p.set("requestId", request_id_);
    if (!allow) {
      p.set("errorReason", "BlockedByClient");
      conn_->Send("Fetch.failRequest", std::move(p), session_);
      return;
    }
    std::string url = request_->url();
    if (url != original_url_) p.set("url", url);
    conn_->Send("Fetch.continueRequest", std::move(p), session_);
  }
  void Cancel() override { Continue(false); }

 private:
  std::shared_ptr<Connection> conn_;
  const std::string session_;
  const std::string request_id_;
  CefRefPtr<RequestImpl> request_;
  const std::string original_url_;
  std::atomic<bool> done_{false};
  IMPLEMENT_REFCOUNTING(RequestCallbackImpl);
};

class MenuModelImpl : public CefMenuModel {
 public:
  MenuModelImpl() {
    AddItem(100, "Back");
    AddItem(101, "Forward");
    AddSeparator();
    AddItem(103, "Reload");
  }
  bool Clear() override { items_.clear(); return true; }
  int GetCount() override { return static_cast<int>(items_.size()); }
  bool AddSeparator() override {
    items_.push_back({-1, "", MENUITEMTYPE_SEPARATOR});
    return true;
  }
  bool AddItem(int command_id, const CefString& label) override {
    items_.push_back({command_id, label.ToString(), MENUITEMTYPE_COMMAND});
    return true;
  }
  bool Remove(int command_id) override {
    auto it = std::find_if(items_.begin(), items_.end(),
                           [&](const Item& i) { return i.id == command_id; });
    if (it == items_.end()) return false;
    items_.erase(it);
    return true;
  }
  int GetCommandIdAt(int index) override {
    return index >= 0 && index < GetCount() ? items_[index].id : -1;
  }
  CefString GetLabelAt(int index) override {
    return index >= 0 && index < GetCount() ? CefString(items_[index].label) : CefString();
  }
  MenuItemType GetTypeAt(int index) override {
    return index >= 0 && index < GetCount() ? items_[index].type : MENUITEMTYPE_NONE;
  }

 private:
  struct Item {
    int id;
    std::string label;
    MenuItemType type;
  };
  std::vector<Item> items_;
  IMPLEMENT_REFCOUNTING(MenuModelImpl);
};

class ContextMenuParamsImpl : public CefContextMenuParams {
 public:
  ContextMenuParamsImpl(const Json& m, const std::string& page_url, const std::string& frame_url)
      : x_(static_cast<int>(m["x"].integer())), y_(static_cast<int>(m["y"].integer())),
        link_(m["link"].str()), selection_(m["selection"].str()),
        editable_(m["editable"].boolean()), page_url_(page_url), frame_url_(frame_url) {}
  int GetXCoord() override { return x_; }
  int GetYCoord() override { return y_; }
  TypeFlags GetTypeFlags() override {
    int f = CM_TYPEFLAG_PAGE;
    if (!link_.empty()) f |= CM_TYPEFLAG_LINK;
    if (!selection_.empty()) f |= CM_TYPEFLAG_SELECTION;
    if (editable_) f |= CM_TYPEFLAG_EDITABLE;
    if (frame_url_ != page_url_) f |= CM_TYPEFLAG_FRAME;
    return static_cast<TypeFlags>(f);
  }
  CefString GetLinkUrl() override { return link_; }
  CefString GetPageUrl() override { return page_url_; }
  CefString GetFrameUrl() override { return frame_url_; }
  CefString GetSelectionText() override { return selection_; }
  bool IsEditable() override { return editable_; }

 private:
  int x_, y_;
  std::string link_, selection_;
  bool editable_;
  std::string page_url_, frame_url_;
  IMPLEMENT_REFCOUNTING(ContextMenuParamsImpl);
};

class RunContextMenuCallbackImpl : public CefRunContextMenuCallback {
 public:
  using Done = std::function<void(int)>;
  explicit RunContextMenuCallbackImpl(Done done) : done_(std::move(done)) {}
  void Continue(int command_id, cef_event_flags_t) override {
    if (done_) {
      Done d = std::move(done_);
      done_ = nullptr;
      d(command_id);
    }
  }
  void Cancel() override { Continue(-1, EVENTFLAG_NONE); }

 private:
  Done done_;
  IMPLEMENT_REFCOUNTING(RunContextMenuCallbackImpl);
};

TerminationStatus StatusFromText(const std::string& s) {
  if (s == "killed") return TS_PROCESS_WAS_KILLED;
  if (s == "crashed") return TS_PROCESS_CRASHED;
  if (s == "oom") return TS_PROCESS_OOM;
  return TS_ABNORMAL_TERMINATION;
}

}  // namespace

TerminationStatus TerminationStatusFromText(const std::string& s) { return StatusFromText(s); }

class JSDialogCallbackImpl : public CefJSDialogCallback {
 public:
  JSDialogCallbackImpl(std::shared_ptr<Connection> conn, const std::string& session,
                       BrowserImpl* browser)
      : conn_(conn), session_(session), browser_(browser) {}
  void Continue(bool success, const CefString& user_input) override {
    if (done_.exchange(true)) return;
    answered_ = true;
    Json p = Json::object();
    p.set("accept", success);
    p.set("promptText", user_input.ToString());
    CefRefPtr<JSDialogCallbackImpl> self = this;
    conn_->Send("Page.handleJavaScriptDialog", std::move(p), session_,
                [self](const Json&, const Json& err) {
                  if (err.isNull()) return;
                  if (Engine* e = Engine::Get())
                    e->PostUi([self] { self->browser_->DialogLost(self.get()); });
                });
  }
  // The dialog went away without an answer (navigation, crash, close).
  void Abandon() { done_.store(true); }
  bool answered() const { return answered_.load(); }

 private:
  std::shared_ptr<Connection> conn_;
  const std::string session_;
  CefRefPtr<BrowserImpl> browser_;
  std::atomic<bool> done_{false};
  std::atomic<bool> answered_{false};
  IMPLEMENT_REFCOUNTING(JSDialogCallbackImpl);
};

// ---------------------------------------------------------------------------------------
// FrameImpl

FrameImpl::FrameImpl(BrowserImpl* browser, const std::string& cdp_id, bool is_main)
    : browser_(browser), cdp_id_(cdp_id), is_main_(is_main), id_(g_next_frame_id++) {}

void FrameImpl::LoadURL(const CefString& url) {
  if (!valid_) return;
  CefRefPtr<BrowserImpl> b = browser_;
  std::string u = url.ToString(), id = cdp_id_;
  bool main = is_main_;
  auto task = [b, u, id, main] { b->LoadUrlInFrame(u, main ? std::string() : id); };
  Engine* e = Engine::Get();
  if (!e) return;
  if (e->OnUiThread()) task();
  else e->PostUi(task);
}

void FrameImpl::ExecuteJavaScript(const CefString& code, const CefString& script_url,
                                  int start_line) {
  (void)start_line;
  if (!valid_) return;
  std::string source = code.ToString();
  if (!script_url.empty()) source += "\n//# sourceURL=" + script_url.ToString();
  CefRefPtr<BrowserImpl> b = browser_;
  std::string id = cdp_id_;
  Engine* e = Engine::Get();
  if (!e) return;
  auto task = [b, id, source] { b->ExecuteInFrame(id, source); };
  if (e->OnUiThread()) task();
  else e->PostUi(task);
}

bool FrameImpl::IsFocused() {
  CefRefPtr<CefFrame> f = browser_->GetFocusedFrame();
  return f && f->GetIdentifier() == id_;
}

CefString FrameImpl::GetName() { std::lock_guard<std::mutex> l(mutex_); return name_; }

CefRefPtr<CefFrame> FrameImpl::GetParent() {
  std::string parent;
  {
    std::lock_guard<std::mutex> l(mutex_);
    parent = parent_cdp_id_;
  }
  if (parent.empty() || is_main_) return nullptr;
  return browser_->FrameFor(parent).get();
}

CefString FrameImpl::GetURL() { std::lock_guard<std::mutex> l(mutex_); return url_; }
CefRefPtr<CefBrowser> FrameImpl::GetBrowser() { return browser_; }
void FrameImpl::set_url(const std::string& url) { std::lock_guard<std::mutex> l(mutex_); url_ = url; }
std::string FrameImpl::url() { std::lock_guard<std::mutex> l(mutex_); return url_; }
void FrameImpl::set_name(const std::string& n) { std::lock_guard<std::mutex> l(mutex_); name_ = n; }
void FrameImpl::set_parent(const std::string& p) {
  std::lock_guard<std::mutex> l(mutex_);
  parent_cdp_id_ = p;
}
void FrameImpl::Invalidate() { valid_ = false; }

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
  needs_target_ = false;
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
  needs_target_ = true;
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
    // Chromium never offers these for interception: ask the handler here, on the I/O thread.
    CefRefPtr<BrowserImpl> self = this;
    std::shared_ptr<Connection> c = e->conn();
    c->PostIo([self, url] {
      CefRefPtr<RequestImpl> req =
          new RequestImpl(url, "GET", std::string(), RT_MAIN_FRAME, TT_EXPLICIT);
      CefRefPtr<RequestImpl> hold = req;
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
      bool allowed = rv != RV_CANCEL && !(rv == RV_CONTINUE_ASYNC);
      Engine::Get()->PostUi([self, allowed, final_url, url] {
        if (allowed) {
          {
            std::lock_guard<std::mutex> l(self->nav_mutex_);
            self->approved_url_ = final_url;
          }
          self->Navigate(final_url, std::string());
        } else {
          self->ReportLoadError(std::string(), self->target_id_, "net::ERR_BLOCKED_BY_CLIENT",
                                url);
        }
      });
    });
    return;
  }
  Navigate(url, frame_cdp_id);
}

void BrowserImpl::Navigate(const std::string& url, const std::string& frame_cdp_id) {
  CefRefPtr<BrowserImpl> self = this;
  blank_start_ = false;
  Json p = Json::object();
  p.set("url", url);
  if (!frame_cdp_id.empty()) p.set("frameId", frame_cdp_id);
  std::string frame = frame_cdp_id.empty() ? target_id_ : frame_cdp_id;
  transition_[frame] = TT_EXPLICIT;
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
    self->transition_[self->target_id_] =
        static_cast<TransitionType>(TT_EXPLICIT | TT_FORWARD_BACK_FLAG);
    self->Cmd("Page.navigateToHistoryEntry",
              Json::object().set("entryId", entries[static_cast<size_t>(idx)]["id"]));
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
void BrowserImpl::Reload() {
  CefRefPtr<BrowserImpl> self = this;
  Engine::Get()->PostUi([self] {
    if (!Engine::Get()->chromium_alive()) {
      CefRefPtr<CefFrame> f = self->GetMainFrame();
      std::string url = f ? static_cast<FrameImpl*>(f.get())->url() : std::string();
      if (!url.empty()) self->LoadUrlInFrame(url, std::string());
      return;
    }
    self->transition_[self->target_id_] = TT_RELOAD;
    self->Cmd("Page.reload", Json::object());
  });
}
void BrowserImpl::ReloadIgnoreCache() {
  CefRefPtr<BrowserImpl> self = this;
  Engine::Get()->PostUi([self] {
    self->transition_[self->target_id_] = TT_RELOAD;
    self->Cmd("Page.reload", Json::object().set("ignoreCache", true));
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

bool BrowserImpl::SendProcessMessage(CefProcessId target_process,
                                     CefRefPtr<CefProcessMessage> message) {
  if (target_process != PID_RENDERER || !message) return false;
  std::string expr = "window.__vexorEngineDeliver&&window.__vexorEngineDeliver(" +
                     ProcessMessageToJson(message).dump() + ")";
  CefRefPtr<BrowserImpl> self = this;
  auto task = [self, expr] {
    for (auto& c : self->contexts_) {
      if (!c.second.is_default) continue;
      Json p = Json::object();
      p.set("expression", expr);
      p.set("uniqueContextId", c.first);
      self->Cmd("Runtime.evaluate", std::move(p), nullptr, c.second.session);
    }
  };
  if (Engine::Get()->OnUiThread()) task();
  else Engine::Get()->PostUi(task);
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
// Requests (I/O thread)

void BrowserImpl::OnRequestPaused(const std::string& session, const Json& params) {
  const std::string target = TargetId();
  std::string frame_id = params["frameId"].str();
  bool known;
  {
    std::lock_guard<std::mutex> l(frames_mutex_);
    known = subframes_.count(frame_id) > 0;
  }
  if (!known && frame_id != target && params["resourceType"].str() == "Document") {
    // A refused popup's first document can arrive here, before its own session exists.
    // The UI thread has seen the popup offer by now; it tells the two apart.
    CefRefPtr<BrowserImpl> self = this;
    auto shared = std::make_shared<Json>(params);
    Engine::Get()->PostUi([self, session, shared, frame_id] {
      bool known;
      {
        std::lock_guard<std::mutex> l(self->frames_mutex_);
        known = self->subframes_.count(frame_id) > 0;
      }
      self->held_docs_[frame_id] = HeldDocument{session, shared};
      auto refused = self->popup_refused_.find(frame_id);
      if (known || refused != self->popup_refused_.end()) {
        self->ReleaseHeld(frame_id, !known && refused->second);
        return;
      }
      Engine::Get()->PostUiDelayed(3000, [self, frame_id] { self->ReleaseHeld(frame_id, false); });
    });
    return;
  }
  HandlePaused(session, params);
}

void BrowserImpl::ReleaseHeld(const std::string& frame_id, bool fail) {
  auto it = held_docs_.find(frame_id);
  if (it == held_docs_.end()) return;
  HeldDocument held = it->second;
  held_docs_.erase(it);
  std::shared_ptr<Connection> c = Engine::Get()->conn();
  CefRefPtr<BrowserImpl> self = this;
  c->PostIo([self, held, fail, c] {
    if (fail) {
      Json p = Json::object();
      p.set("requestId", (*held.params)["requestId"]);
      p.set("errorReason", "BlockedByClient");
      c->Send("Fetch.failRequest", std::move(p), held.session);
    } else {
      self->HandlePaused(held.session, *held.params);
    }
  });
}

void BrowserImpl::HandlePaused(const std::string& session, const Json& params) {
  const std::string target = TargetId();
  Engine* e = Engine::Get();
  std::shared_ptr<Connection> c = e->conn();
  std::string request_id = params["requestId"].str();
  const Json& req = params["request"];
  std::string url = req["url"].str();
  if (req.has("urlFragment")) url += req["urlFragment"].str();
  CefRefPtr<CefRequestHandler> handler = RequestHandler();
  if (!handler || closed_) {
    c->Send("Fetch.continueRequest", Json::object().set("requestId", request_id), session);
    return;
  }
  std::string frame_id = params["frameId"].str();
  cef_resource_type_t type =
      ResourceTypeFor(params["resourceType"].str(), frame_id == target, url);
  CefRefPtr<RequestImpl> request =
      new RequestImpl(url, req["method"].str(), req["headers"]["Referer"].str(), type,
                      type == RT_MAIN_FRAME ? TT_EXPLICIT : TT_LINK);
  CefRefPtr<RequestCallbackImpl> cb = new RequestCallbackImpl(c, session, request_id, request, url);
  CefRefPtr<FrameImpl> frame = FrameFor(frame_id);
  ReturnValue rv = handler->OnBeforeResourceLoad(this, frame.get(), request.get(), cb.get());
  if (rv == RV_CONTINUE) cb->Continue(true);
  else if (rv == RV_CANCEL) cb->Continue(false);
}

void BrowserImpl::OnNavigationStarting(const std::string& session, const Json& params) {
  const std::string target = TargetId();
  std::string url = params["url"].str();
  CefRefPtr<CefRequestHandler> handler = RequestHandler();
  if (!handler || !IsInternalPage(url)) return;
  {
    std::lock_guard<std::mutex> l(nav_mutex_);
    if (approved_url_ == url) {
      approved_url_.clear();
      return;
    }
  }
  std::string frame_id = params["frameId"].str();
  CefRefPtr<RequestImpl> req = new RequestImpl(
      url, "GET", std::string(), frame_id == target ? RT_MAIN_FRAME : RT_SUB_FRAME, TT_LINK);
  struct Ignore : public CefRequestCallback {
    void Continue(bool) override {}
    void Cancel() override {}
    IMPLEMENT_REFCOUNTING(Ignore);
  };
  ReturnValue rv =
      handler->OnBeforeResourceLoad(this, FrameFor(frame_id).get(), req.get(), new Ignore);
  if (rv == RV_CONTINUE) return;
  Engine::Get()->conn()->Send("Page.stopLoading", Json::object(), session);
  CefRefPtr<BrowserImpl> self = this;
  Engine::Get()->PostUi([self, frame_id, url] {
    self->ReportLoadError(std::string(), frame_id, "net::ERR_BLOCKED_BY_CLIENT", url);
  });
}

// ---------------------------------------------------------------------------------------
// Events (UI thread)

void BrowserImpl::HandleEvent(const std::string& session, const std::string& method,
                              const Json& params) {
  if (closed_) return;
  CefRefPtr<CefClient> client = client_;
  bool main_session = session == session_;
  if (blank_start_ && main_session &&
      (method.compare(0, 5, "Page.") == 0 || method.compare(0, 8, "Network.") == 0))
    return;

  if (method == "Target.attachedToTarget") {
    std::string child = params["sessionId"].str();
    std::string type = params["targetInfo"]["type"].str();
    if (type == "page") {
      // A window this page opened.
      OnPopupAttached(child, params["targetInfo"]["targetId"].str());
      return;
    }
    child_sessions_.insert(child);
    Engine::Get()->MapSession(child, this);
    SetupSession(child, false, type);
    return;
  }
  if (method == "Target.detachedFromTarget") {
    std::string child = params["sessionId"].str();
    child_sessions_.erase(child);
    Engine::Get()->UnmapSession(child);
    return;
  }
  if (method == "Page.frameAttached") {
    CefRefPtr<FrameImpl> f = FrameFor(params["frameId"].str());
    f->set_parent(params["parentFrameId"].str());
    {
      std::lock_guard<std::mutex> l(frames_mutex_);
      subframes_.insert(params["frameId"].str());
    }
    ReleaseHeld(params["frameId"].str(), false);
    return;
  }
  if (method == "Page.frameDetached") {
    if (params["reason"].str() == "swap") return;  // moved to another process, same frame
    std::string id = params["frameId"].str();
    std::lock_guard<std::mutex> l(frames_mutex_);
    auto it = frames_.find(id);
    if (it != frames_.end() && id != target_id_) {
      it->second->Invalidate();
      frames_.erase(it);
    }
    return;
  }
  if (method == "Page.frameStartedNavigating") {
    std::string frame_id = params["frameId"].str();
    std::string nav = params["navigationType"].str();
    if (nav == "sameDocument" || nav == "historySameDocument") return;
    if (nav == "reload" || nav == "reloadBypassingCache") transition_[frame_id] = TT_RELOAD;
    else if (nav == "historyDifferentDocument")
      transition_[frame_id] = static_cast<TransitionType>(TT_EXPLICIT | TT_FORWARD_BACK_FLAG);
    else if (!transition_.count(frame_id))
      transition_[frame_id] = frame_id == target_id_ ? TT_LINK : TT_AUTO_SUBFRAME;
    if (frame_id == target_id_ && dialog_) ResetDialog();
    if (client && request_handler_) {
      CefRefPtr<CefRequest> req = new RequestImpl(
          params["url"].str(), "GET", std::string(),
          frame_id == target_id_ ? RT_MAIN_FRAME : RT_SUB_FRAME, transition_[frame_id]);
      if (request_handler_->OnBeforeBrowse(this, FrameFor(frame_id).get(), req, false, false))
        Cmd("Page.stopLoading", Json::object(), nullptr, session);
    }
    return;
  }
  if (method == "Page.frameStartedLoading") {
    if (params["frameId"].str() == target_id_) {
      subresources_started_ = subresources_done_ = 0;
      if (!loading_) {
        progress_ = 0;
        SetLoading(true);
        ReportProgress(0.1, true);
      }
    }
    return;
  }
  if (method == "Network.requestWillBeSent") {
    if (params["type"].str() == "Document") {
      std::string frame_id = params["frameId"].str();
      doc_requests_[params["requestId"].str()] = {frame_id, params["request"]["url"].str()};
      status_.erase(frame_id);
    } else if (loading_) {
      ++subresources_started_;
    }
    return;
  }
  if (method == "Network.responseReceived") {
    if (params["type"].str() == "Document") {
      status_[params["frameId"].str()] =
          static_cast<int>(params["response"]["status"].integer());
    }
    return;
  }
  if (method == "Network.loadingFinished" || method == "Network.loadingFailed") {
    std::string rid = params["requestId"].str();
    auto it = doc_requests_.find(rid);
    if (it == doc_requests_.end()) {
      if (loading_ && subresources_started_ > 0) {
        ++subresources_done_;
        ReportProgress(0.3 + 0.6 * subresources_done_ / std::max(1, subresources_started_));
      }
      return;
    }
    std::string frame_id = it->second.first, url = it->second.second;
    doc_requests_.erase(it);
    if (method == "Network.loadingFailed") {
      std::string text = params["errorText"].str();
      if (text.empty()) text = "net::ERR_FAILED";
      ReportLoadError(rid, frame_id, text, url);
    }
    return;
  }
  if (method == "Page.frameNavigated") {
    const Json& fr = params["frame"];
    std::string id = fr["id"].str();
    std::string url = fr["url"].str() + fr["urlFragment"].str();
    std::string unreachable = fr["unreachableUrl"].str();
    CefRefPtr<FrameImpl> frame = FrameFor(id);
    frame->set_url(unreachable.empty() ? url : unreachable);
    frame->set_name(fr["name"].str());
    if (fr.has("parentId")) {
      frame->set_parent(fr["parentId"].str());
      std::lock_guard<std::mutex> l(frames_mutex_);
      subframes_.insert(id);
    }
    bool is_main = id == target_id_;
    if (is_main) {
      title_since_commit_ = false;
      // Contexts of the old document are gone with it.
      if (client) {
        if (CefRefPtr<CefDisplayHandler> h = client->GetDisplayHandler())
          h->OnAddressChange(this, frame.get(), unreachable.empty() ? url : unreachable);
      }
      ReportProgress(0.3);
    }
    if (!unreachable.empty()) {
      error_frames_.insert(id);
      return;
    }
    error_frames_.erase(id);
    TransitionType tt = transition_.count(id) ? transition_[id]
                                              : (is_main ? TT_LINK : TT_AUTO_SUBFRAME);
    transition_.erase(id);
    if (client) {
      if (CefRefPtr<CefLoadHandler> h = client->GetLoadHandler()) h->OnLoadStart(this, frame.get(), tt);
    }
    return;
  }
  if (method == "Page.navigatedWithinDocument") {
    std::string id = params["frameId"].str();
    std::string url = params["url"].str();
    CefRefPtr<FrameImpl> frame = FrameFor(id);
    frame->set_url(url);
    if (id == target_id_) {
      if (client) {
        if (CefRefPtr<CefDisplayHandler> h = client->GetDisplayHandler())
          h->OnAddressChange(this, frame.get(), url);
      }
      CefRefPtr<BrowserImpl> self = this;
      bool back = can_back_, fwd = can_forward_;
      RefreshHistory([self, back, fwd] {
        if (self->closed_ || (back == self->can_back_ && fwd == self->can_forward_)) return;
        if (self->client_) {
          if (CefRefPtr<CefLoadHandler> h = self->client_->GetLoadHandler())
            h->OnLoadingStateChange(self.get(), self->loading_, self->can_back_,
                                    self->can_forward_);
        }
      });
    }
    return;
  }
  if (method == "Page.domContentEventFired") {
    if (main_session && loading_) ReportProgress(0.6);
    return;
  }
  if (method == "Page.frameStoppedLoading") {
    std::string id = params["frameId"].str();
    CefRefPtr<FrameImpl> frame = FrameFor(id);
    bool error = error_frames_.count(id) > 0;
    if (!error && client) {
      int status = status_.count(id) ? status_[id] : 0;
      if (id == target_id_ && !title_since_commit_) {
        // A page without a title shows its address, as Chromium's own tab does.
        std::string url = frame->url();
        if (url != title_) {
          title_ = url;
          if (CefRefPtr<CefDisplayHandler> h = client->GetDisplayHandler())
            h->OnTitleChange(this, title_);
        }
      }
      if (CefRefPtr<CefLoadHandler> h = client->GetLoadHandler()) h->OnLoadEnd(this, frame.get(), status);
    }
    if (id == target_id_) {
      CefRefPtr<BrowserImpl> self = this;
      RefreshHistory([self] {
        if (self->closed_) return;
        self->ReportProgress(1.0, true);
        self->SetLoading(false);
      });
    }
    return;
  }
  if (method == "Runtime.executionContextCreated") {
    const Json& ctx = params["context"];
    const Json& aux = ctx["auxData"];
    std::string unique = ctx["uniqueId"].str();
    contexts_[unique] = Context{session, aux["frameId"].str(), aux["isDefault"].boolean()};
    context_ids_[{session, ctx["id"].integer()}] = unique;
    return;
  }
  if (method == "Runtime.executionContextDestroyed") {
    auto key = std::make_pair(session, params["executionContextId"].integer());
    auto it = context_ids_.find(key);
    if (it != context_ids_.end()) {
      contexts_.erase(it->second);
      context_ids_.erase(it);
    }
    return;
  }
  if (method == "Runtime.executionContextsCleared") {
    for (auto it = context_ids_.begin(); it != context_ids_.end();) {
      if (it->first.first == session) {
        contexts_.erase(it->second);
        it = context_ids_.erase(it);
      } else {
        ++it;
      }
    }
    return;
  }
  if (method == "Runtime.bindingCalled") {
    if (params["name"].str() == kBinding) OnBinding(session, params);
    return;
  }
  if (method == "Runtime.consoleAPICalled" || method == "Runtime.exceptionThrown") {
    if (!client) return;
    CefRefPtr<CefDisplayHandler> h = client->GetDisplayHandler();
    if (!h) return;
    std::string text, source;
    int line = 0;
    cef_log_severity_t level = LOGSEVERITY_INFO;
    const Json* frames = nullptr;
    if (method == "Runtime.consoleAPICalled") {
      std::string type = params["type"].str();
      if (type == "error" || type == "assert") level = LOGSEVERITY_ERROR;
      else if (type == "warning") level = LOGSEVERITY_WARNING;
      else if (type == "debug") level = LOGSEVERITY_VERBOSE;
      for (const Json& a : params["args"].items()) {
        if (!text.empty()) text += ' ';
        const Json& v = a["value"];
        if (v.isString()) text += v.str();
        else if (a.has("unserializableValue")) text += a["unserializableValue"].str();
        else if (!v.isNull() || a["type"].str() == "object") {
          text += a.has("description") ? a["description"].str() : v.dump();
        } else if (a["type"].str() == "undefined") {
          text += "undefined";
        } else {
          text += a.has("description") ? a["description"].str() : v.dump();
        }
      }
      frames = &params["stackTrace"]["callFrames"];
    } else {
      level = LOGSEVERITY_ERROR;
      const Json& d = params["exceptionDetails"];
      text = d["exception"]["description"].str();
      if (text.empty()) text = d["text"].str();
      else text = "Uncaught " + text;
      source = d["url"].str();
      line = static_cast<int>(d["lineNumber"].integer()) + 1;
      frames = &d["stackTrace"]["callFrames"];
    }
    if (frames && frames->size() > 0 && source.empty()) {
      source = (*frames)[0]["url"].str();
      line = static_cast<int>((*frames)[0]["lineNumber"].integer()) + 1;
    }
    if (!h->OnConsoleMessage(this, level, text, source, line))
      VLOG_INFO("console: " << text << " (" << source << ":" << line << ")");
    return;
  }
  if (method == "Page.javascriptDialogOpening") {
    OnDialogOpening(session, params);
    return;
  }
  if (method == "Page.javascriptDialogClosed") {
    OnDialogClosed();
    return;
  }
  if (method == "Page.windowOpen") {
    OnWindowOpen(params);
    return;
  }
}

void BrowserImpl::OnBinding(const std::string& session, const Json& params) {
  bool ok = false;
  Json msg = Json::parse(params["payload"].str(), &ok);
  if (!ok || !msg.isObject()) return;
  auto cit = context_ids_.find({session, params["executionContextId"].integer()});
  std::string frame_id =
      cit != context_ids_.end() ? contexts_[cit->second].frame : std::string();
  if (frame_id.empty() && session == session_) frame_id = target_id_;
  std::string kind = msg["k"].str();
  if (kind == "title") {
    if (frame_id != target_id_) return;
    std::string title = msg["title"].str();
    if (title.empty() && !title_since_commit_) return;
    title_since_commit_ = true;
    if (title == title_) return;
    title_ = title;
    if (client_) {
      if (CefRefPtr<CefDisplayHandler> h = client_->GetDisplayHandler()) h->OnTitleChange(this, title_);
    }
    return;
  }
  if (kind == "focus") {
    focused_frame_ = frame_id;
    return;
  }
  if (kind == "ctx") {
    OnContextMenu(frame_id, msg);
    return;
  }
  if (kind == "open") {
    OnScriptOpen(frame_id, msg);
    return;
  }
  if (kind == "close") {
    if (frame_id != target_id_ || closing_) return;
    bool keep = false;
    if (client_) {
      if (CefRefPtr<CefLifeSpanHandler> h = client_->GetLifeSpanHandler()) keep = h->DoClose(this);
    }
    if (!keep) Destroy();
    return;
  }
  if (kind == "msg") {
    Json args = msg["args"];
    if (msg["frame"].boolean()) {
      // The frame that sent it, as the two halves of its 64-bit id.
      int64 fid = FrameFor(frame_id)->GetIdentifier();
      Json with = Json::array();
      with.push(static_cast<int>(static_cast<uint32_t>(fid & 0xffffffff)));
      with.push(static_cast<int>(static_cast<uint32_t>(fid >> 32)));
      for (const Json& a : args.items()) with.push(a);
      args = with;
    }
    CefRefPtr<CefProcessMessage> m = ProcessMessageFromJson(msg["name"].str(), args);
    if (client_) client_->OnProcessMessageReceived(this, PID_RENDERER, m);
  }
}

void BrowserImpl::OnContextMenu(const std::string& frame_cdp_id, const Json& msg) {
  if (!client_) return;
  CefRefPtr<CefContextMenuHandler> h = client_->GetContextMenuHandler();
  if (!h) return;
  CefRefPtr<FrameImpl> frame = FrameFor(frame_cdp_id);
  CefRefPtr<FrameImpl> main = FrameFor(target_id_);
  CefRefPtr<CefContextMenuParams> params =
      new ContextMenuParamsImpl(msg, main->url(), frame->url());
  CefRefPtr<CefMenuModel> model = new MenuModelImpl;
  h->OnBeforeContextMenu(this, frame.get(), params, model);
  if (model->GetCount() > 0) {
    CefRefPtr<BrowserImpl> self = this;
    CefRefPtr<CefRunContextMenuCallback> cb =
        new RunContextMenuCallbackImpl([self, h, frame, params](int command) {
          if (command >= 0) h->OnContextMenuCommand(self.get(), frame.get(), params, command,
                                                    EVENTFLAG_NONE);
          h->OnContextMenuDismissed(self.get(), frame.get());
        });
    // Nothing is drawn either way: the engine has no menu of its own to show.
    if (!h->RunContextMenu(this, frame.get(), params, model, cb)) cb->Cancel();
  }
}

void BrowserImpl::OnDialogOpening(const std::string& session, const Json& params) {
  if (dialog_) ResetDialog();  // a newer dialog replaced the old one
  std::string type = params["type"].str();
  CefRefPtr<JSDialogCallbackImpl> cb =
      new JSDialogCallbackImpl(Engine::Get()->conn(), session, this);
  dialog_ = cb;
  CefRefPtr<CefJSDialogHandler> h = client_ ? client_->GetJSDialogHandler() : nullptr;
  if (type == "beforeunload") {
    if (!h || !h->OnBeforeUnloadDialog(this, params["message"].str(), false, cb.get()))
      cb->Continue(true, CefString());
    return;
  }
  JSDialogType t = type == "alert" ? JSDIALOGTYPE_ALERT
                   : type == "confirm" ? JSDIALOGTYPE_CONFIRM : JSDIALOGTYPE_PROMPT;
  bool suppress = false;
  if (!h || !h->OnJSDialog(this, params["url"].str(), t, params["message"].str(),
                           params["defaultPrompt"].str(), cb.get(), suppress)) {
    cb->Continue(t == JSDIALOGTYPE_ALERT && !suppress, CefString());
  }
}

void BrowserImpl::OnDialogClosed() {
  if (!dialog_) return;
  CefRefPtr<JSDialogCallbackImpl> cb = dialog_;
  dialog_ = nullptr;
  CefRefPtr<CefJSDialogHandler> h = client_ ? client_->GetJSDialogHandler() : nullptr;
  if (!cb->answered()) {
    cb->Abandon();
    if (h) h->OnResetDialogState(this);
  }
  if (h) h->OnDialogClosed(this);
}

void BrowserImpl::DialogLost(JSDialogCallbackImpl* cb) {
  // Chromium dropped the dialog it was showing (a second one from another frame replaces
  // the first and then cannot be answered): the page would stay blocked, so reload it.
  if (dialog_.get() != cb || closed_) return;
  OnDialogClosed();
  VLOG_WARNING("browser " << id_ << ": dialog could not be answered, reloading the page");
  Cmd("Page.reload", Json::object());
}

void BrowserImpl::ResetDialog() {
  if (!dialog_) return;
  CefRefPtr<JSDialogCallbackImpl> cb = dialog_;
  dialog_ = nullptr;
  if (cb->answered()) return;
  cb->Abandon();
  if (client_) {
    if (CefRefPtr<CefJSDialogHandler> h = client_->GetJSDialogHandler()) h->OnResetDialogState(this);
  }
}

void BrowserImpl::OnWindowOpen(const Json& params) {
  bool cancel = false;
  CefRefPtr<CefClient> popup_client = client_;
  CefWindowInfo info;
  CefBrowserSettings settings;
  if (client_) {
    if (CefRefPtr<CefLifeSpanHandler> h = client_->GetLifeSpanHandler()) {
      CefPopupFeatures features;
      bool no_js = false;
      bool has_features = params["windowFeatures"].size() > 0;
      cancel = h->OnBeforePopup(this, GetMainFrame(), params["url"].str(),
                                params["windowName"].str(),
                                has_features ? WOD_NEW_POPUP : WOD_NEW_FOREGROUND_TAB,
                                params["userGesture"].boolean(), features, info, popup_client,
                                settings, &no_js);
    }
  }
  popup_decisions_.push_back(PopupDecision{cancel, info, popup_client});

  if (!popup_waiting_.empty()) {
    auto w = popup_waiting_.front();
    popup_waiting_.pop_front();
    OnPopupAttached(w.first, w.second);
  }
}

void BrowserImpl::OnScriptOpen(const std::string& frame_cdp_id, const Json& msg) {
  if (closing_ || !client_) return;
  CefRefPtr<CefClient> popup_client = client_;
  CefWindowInfo info;
  CefBrowserSettings settings;
  bool cancel = false;
  if (CefRefPtr<CefLifeSpanHandler> h = client_->GetLifeSpanHandler()) {
    CefPopupFeatures features;
    bool no_js = false;
    bool has_features = !msg["features"].str().empty();
    cancel = h->OnBeforePopup(this, FrameFor(frame_cdp_id).get(), msg["url"].str(),
                              msg["name"].str(),
                              has_features ? WOD_NEW_POPUP : WOD_NEW_FOREGROUND_TAB,
                              msg["gesture"].boolean(), features, info, popup_client, settings,
                              &no_js);
  }
  if (!cancel)
    Engine::Get()->CreateBrowser(info, popup_client, msg["url"].str(), true, std::string(),
                                 std::string());
}

void BrowserImpl::OnPopupAttached(const std::string& session, const std::string& target_id) {
  if (popup_decisions_.empty()) {
    popup_waiting_.push_back({session, target_id});
    return;
  }
  PopupDecision d = popup_decisions_.front();
  popup_decisions_.pop_front();
  popup_refused_[target_id] = d.cancel;
  ReleaseHeld(target_id, d.cancel);
  if (d.cancel) SuppressPopup(session, target_id);
  else Engine::Get()->CreateBrowser(d.info, d.client, std::string(), true, target_id, session);
}

void BrowserImpl::SuppressPopup(const std::string& session, const std::string& target_id) {
  // Fail whatever it asks for, let it run so the opener's window.open() returns, then close it.
  Engine* e = Engine::Get();
  e->MapSession(session, nullptr);
  Json pattern = Json::object();
  pattern.set("urlPattern", "*");
  Cmd("Fetch.enable", Json::object().set("patterns", Json::array().push(pattern)), nullptr,
      session);
  CefRefPtr<BrowserImpl> self = this;
  Cmd("Runtime.runIfWaitingForDebugger", Json::object(),
      [self, target_id, session](const Json&, const Json&) {
        self->Cmd("Target.closeTarget", Json::object().set("targetId", target_id), nullptr,
                  std::string());
        if (Engine* eng = Engine::Get()) eng->UnmapSession(session);
      },
      session);
}

// ---------------------------------------------------------------------------------------
// Input

void BrowserImpl::SendKeyEvent(const CefKeyEvent& event) {
  // The keyboard handler sees each event first and may keep it from the page.
  if (client_ && Engine::Get() && Engine::Get()->OnUiThread()) {
    if (CefRefPtr<CefKeyboardHandler> h = client_->GetKeyboardHandler()) {
      bool shortcut = false;
      if (h->OnPreKeyEvent(this, event, nullptr, &shortcut)) return;
    }
  }
  char16_t ch = event.character;
  bool shift = (event.modifiers & EVENTFLAG_SHIFT_DOWN) != 0;
  // A character outside the BMP arrives as two strokes, one per surrogate; Chromium needs
  // it as one, so the high half waits for the low half.
  if (ch >= 0xD800 && ch < 0xDC00) {
    high_surrogate_ = ch;
    return;
  }
  std::u16string text;
  if (ch >= 0xDC00 && ch < 0xE000) {
    if (!high_surrogate_) return;
    text = std::u16string{high_surrogate_, ch};
    if (event.type == KEYEVENT_KEYUP) high_surrogate_ = 0;
  } else if (ch) {
    text = std::u16string(1, ch);
  }
  std::string utf8 = CefString(text).ToString();
  DomKey dk = DomKeyFor(event.windows_key_code, shift, text.size() == 1 ? ch : 0);
  if (text.size() == 2) dk.key = utf8;
  Json p = Json::object();
  const char* type = "rawKeyDown";
  switch (event.type) {
    case KEYEVENT_RAWKEYDOWN: type = "rawKeyDown"; break;
    case KEYEVENT_KEYDOWN: type = "keyDown"; break;
    case KEYEVENT_KEYUP: type = "keyUp"; break;
    case KEYEVENT_CHAR: type = "char"; break;
  }
  p.set("type", type);
  p.set("modifiers", DevToolsModifiers(event.modifiers));
  p.set("windowsVirtualKeyCode", event.windows_key_code);
  p.set("nativeVirtualKeyCode", event.native_key_code);
  p.set("key", dk.key);
  p.set("code", dk.code);
  if (event.modifiers & EVENTFLAG_IS_KEY_PAD) p.set("location", 3);
  else if (event.modifiers & EVENTFLAG_IS_LEFT) p.set("location", 1);
  else if (event.modifiers & EVENTFLAG_IS_RIGHT) p.set("location", 2);
  if (event.type == KEYEVENT_CHAR || (event.type == KEYEVENT_KEYDOWN && !utf8.empty())) {
    p.set("text", utf8);
    std::string unmod = event.unmodified_character && text.size() == 1
                            ? CefString(std::u16string(1, event.unmodified_character)).ToString()
                            : utf8;
    p.set("unmodifiedText", unmod);
  }
  if (event.is_system_key) p.set("isSystemKey", true);
  Cmd("Input.dispatchKeyEvent", std::move(p));
}

namespace {
Json MouseParams(const char* type, const CefMouseEvent& e) {
  Json p = Json::object();
  p.set("type", type);
  p.set("x", e.x);
  p.set("y", e.y);
  p.set("modifiers", DevToolsModifiers(e.modifiers));
  int buttons = 0;
  if (e.modifiers & EVENTFLAG_LEFT_MOUSE_BUTTON) buttons |= 1;
  if (e.modifiers & EVENTFLAG_RIGHT_MOUSE_BUTTON) buttons |= 2;
  if (e.modifiers & EVENTFLAG_MIDDLE_MOUSE_BUTTON) buttons |= 4;
  p.set("buttons", buttons);
  return p;
}
}  // namespace

void BrowserImpl::SendMouseClickEvent(const CefMouseEvent& event, MouseButtonType type,
                                      bool mouseUp, int clickCount) {
  Json p = MouseParams(mouseUp ? "mouseReleased" : "mousePressed", event);
  static const char* kNames[] = {"left", "middle", "right"};
  static const int kBits[] = {1, 4, 2};
  int t = type >= MBT_LEFT && type <= MBT_RIGHT ? type : MBT_LEFT;
  p.set("button", kNames[t]);
  int buttons = static_cast<int>(p["buttons"].integer());
  p.set("buttons", mouseUp ? (buttons & ~kBits[t]) : (buttons | kBits[t]));
  p.set("clickCount", clickCount);
  Cmd("Input.dispatchMouseEvent", std::move(p));
}

void BrowserImpl::SendMouseMoveEvent(const CefMouseEvent& event, bool mouseLeave) {
  CefMouseEvent e = event;
  if (mouseLeave) {
    e.x = -1;
    e.y = -1;
  }
  Json p = MouseParams("mouseMoved", e);
  int buttons = static_cast<int>(p["buttons"].integer());
  p.set("button", buttons & 1 ? "left" : buttons & 2 ? "right" : buttons & 4 ? "middle" : "none");
  Cmd("Input.dispatchMouseEvent", std::move(p));
}

void BrowserImpl::SendMouseWheelEvent(const CefMouseEvent& event, int deltaX, int deltaY) {
  if (!deltaX && !deltaY) return;
  Json p = MouseParams("mouseWheel", event);
  // Positive deltas scroll up and left here, down and right in Chromium's protocol.
  p.set("deltaX", -deltaX);
  p.set("deltaY", -deltaY);
  Cmd("Input.dispatchMouseEvent", std::move(p));
}

void BrowserImpl::SendFocusEvent(bool setFocus) {
  if (setFocus) Cmd("Emulation.setFocusEmulationEnabled", Json::object().set("enabled", true));
  std::string expr = std::string("window.__vexorEngineFocus&&window.__vexorEngineFocus(") +
                     (setFocus ? "true" : "false") + ")";
  CefRefPtr<BrowserImpl> self = this;
  auto task = [self, expr] {
    for (auto& c : self->contexts_) {
      if (!c.second.is_default) continue;
      Json p = Json::object();
      p.set("expression", expr);
      p.set("uniqueContextId", c.first);
      self->Cmd("Runtime.evaluate", std::move(p), nullptr, c.second.session);
    }
  };
  if (Engine::Get()->OnUiThread()) task();
  else Engine::Get()->PostUi(task);
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
  needs_target_ = true;
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
