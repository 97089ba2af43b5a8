// DevTools events of a browser's sessions, turned into the handlers' callbacks.
#include "browser_impl.h"

#include <algorithm>
#include <cstdlib>

#include "browser_parts.h"
#include "log.h"
#include "values.h"

namespace vexorcef {

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
      main_committed_ = true;
      main_load_event_ = main_stop_pending_ = false;
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
  if (method == "Page.loadEventFired") {
    if (!main_session || !main_committed_) return;
    main_load_event_ = true;
    if (main_stop_pending_) FinishMainLoad();
    return;
  }
  if (method == "Page.frameStoppedLoading") {
    std::string id = params["frameId"].str();
    if (id != target_id_) {
      if (!error_frames_.count(id) && client) {
        int status = status_.count(id) ? status_[id] : 0;
        if (CefRefPtr<CefLoadHandler> h = client->GetLoadHandler())
          h->OnLoadEnd(this, FrameFor(id).get(), status);
      }
      return;
    }
    // The browser process reports the stop, the renderer the load event: the stop can
    // overtake it, and the page is loaded only once both are in.
    if (main_committed_ && !main_load_event_ && !error_frames_.count(id)) {
      main_stop_pending_ = true;
      return;
    }
    FinishMainLoad();
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

void BrowserImpl::FinishMainLoad() {
  main_stop_pending_ = false;
  // A stop from before the current load's document committed (the engine's blank start
  // page finishing late, a navigation cancelled before commit) ends no page load.
  if (main_committed_ && !error_frames_.count(target_id_) && client_) {
    CefRefPtr<FrameImpl> frame = FrameFor(target_id_);
    int status = status_.count(target_id_) ? status_[target_id_] : 0;
    if (!title_since_commit_) {
      // A page without a title shows its address, as Chromium's own tab does.
      std::string url = frame->url();
      if (url != title_) {
        title_ = url;
        if (CefRefPtr<CefDisplayHandler> h = client_->GetDisplayHandler())
          h->OnTitleChange(this, title_);
      }
    }
    if (CefRefPtr<CefLoadHandler> h = client_->GetLoadHandler())
      h->OnLoadEnd(this, frame.get(), status);
  }
  CefRefPtr<BrowserImpl> self = this;
  RefreshHistory([self] {
    if (self->closed_) return;
    self->ReportProgress(1.0, true);
    self->SetLoading(false);
  });
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

}  // namespace vexorcef
