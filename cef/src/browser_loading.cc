// Navigation and load tracking: what the load handler and history see of a page load.
#include "browser_impl.h"

#include <algorithm>

#include "browser_parts.h"
#include "log.h"
#include "values.h"

namespace vexorcef {

void BrowserImpl::LoadUrlInFrame(const std::string& url, const std::string& frame_cdp_id) {
  if (closing_ || closed_) return;
  Engine* e = Engine::Get();
  if (!session_ready_ || !e->chromium_alive()) {
    // Before the page exists, or after Chromium died: load once it is there. A page still
    // waiting for its debugger would commit before its events are on and go unreported.
    if (frame_cdp_id.empty()) pending_url_ = url;
    if (!e->chromium_alive()) e->EnsureChromium();
    return;
  }
  if (request_handler_ && frame_cdp_id.empty() && ScreensPage(url)) {
    CefRefPtr<BrowserImpl> self = this;
    ScreenUninterceptedPage(url, TT_EXPLICIT, [self](const std::string& final_url) {
      self->Navigate(final_url, std::string());
    });
    return;
  }
  Navigate(url, frame_cdp_id);
}

bool BrowserImpl::ScreensPage(const std::string& url) const {
  return IsUninterceptedPage(url) && held_requests_.Holds(url, "Document");
}

void BrowserImpl::ScreenUninterceptedPage(const std::string& url, TransitionType transition,
                                          std::function<void(const std::string&)> go) {
  // Chromium never offers these documents for interception, and they load too fast to stop
  // once started: ask the handler first, on the I/O thread as for any request.
  CefRefPtr<BrowserImpl> self = this;
  Engine::Get()->conn()->PostIo([self, url, transition, go] {
    CefRefPtr<RequestImpl> req = new RequestImpl(url, "GET", std::string(), RT_MAIN_FRAME, transition);
    struct Answer : public CefRequestCallback {
      void Continue(bool) override {}
      void Cancel() override {}
      IMPLEMENT_REFCOUNTING(Answer);
    };
    UiReleasedRef<CefRequestHandler> handler = self->RequestHandler();
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
    if (self->request_handler_ && self->ScreensPage(url))
      self->ScreenUninterceptedPage(url, transition, go);
    else
      go(url);
  });
}

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
    if (self->request_handler_ && self->ScreensPage(url))
      self->ScreenUninterceptedPage(url, TT_RELOAD, go);
    else
      go(url);
  });
}

void BrowserImpl::StopLoad() { Cmd("Page.stopLoading", Json::object()); }

bool BrowserImpl::CanGoBack() { return can_back_; }

bool BrowserImpl::CanGoForward() { return can_forward_; }

bool BrowserImpl::IsLoading() { return loading_; }

void BrowserImpl::OnFrameStartedNavigating(const std::string& session, const Json& params) {
  std::string frame_id = params["frameId"].str();
  std::string nav = params["navigationType"].str();
  if (nav == "sameDocument" || nav == "historySameDocument") return;
  if (nav == "reload" || nav == "reloadBypassingCache") transition_[frame_id] = TT_RELOAD;
  else if (nav == "historyDifferentDocument")
    transition_[frame_id] = static_cast<TransitionType>(TT_EXPLICIT | TT_FORWARD_BACK_FLAG);
  else if (!transition_.count(frame_id))
    transition_[frame_id] = frame_id == target_id_ ? TT_LINK : TT_AUTO_SUBFRAME;
  if (frame_id == target_id_) {
    // Until the new document commits, a stop ends no page load.
    main_committed_ = false;
    history_pending_ = nav == "historyDifferentDocument";
    if (dialog_) ResetDialog();
  }
  if (client_ && request_handler_) {
    CefRefPtr<CefRequest> req = new RequestImpl(
        params["url"].str(), "GET", std::string(),
        frame_id == target_id_ ? RT_MAIN_FRAME : RT_SUB_FRAME, transition_[frame_id]);
    if (request_handler_->OnBeforeBrowse(this, FrameFor(frame_id).get(), req, false, false))
      Cmd("Page.stopLoading", Json::object(), nullptr, session);
  }
}

void BrowserImpl::OnFrameStartedLoading(const std::string&, const Json& params) {
  if (params["frameId"].str() == target_id_) {
    subresources_started_ = subresources_done_ = 0;
    if (!loading_) {
      progress_ = 0;
      SetLoading(true);
      ReportProgress(0.1, true);
    }
  }
}

void BrowserImpl::OnRequestWillBeSent(const std::string&, const Json& params) {
  if (params["type"].str() == "Document") {
    std::string frame_id = params["frameId"].str();
    doc_requests_[params["requestId"].str()] = {frame_id, params["request"]["url"].str()};
    status_.erase(frame_id);
  } else if (loading_) {
    ++subresources_started_;
  }
}

void BrowserImpl::OnResponseReceived(const std::string&, const Json& params) {
  if (params["type"].str() == "Document") {
    status_[params["frameId"].str()] =
        static_cast<int>(params["response"]["status"].integer());
  }
}

void BrowserImpl::OnRequestDone(const std::string&, const Json& params) {
  bool failed = params.has("errorText");
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
  if (failed) {
    std::string text = params["errorText"].str();
    if (text.empty()) text = "net::ERR_FAILED";
    ReportLoadError(rid, frame_id, text, url);
  }
}

void BrowserImpl::OnFrameNavigated(const std::string&, const Json& params) {
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
  // A page back from the back/forward cache has no load of its own to wait for.
  const bool restored = is_main && params["type"].str() == "BackForwardCacheRestore";
  if (is_main) {
    title_since_commit_ = false;
    main_committed_ = true;
    history_pending_ = main_finished_ = false;
    ++main_commits_;
    main_load_event_ = main_stop_pending_ = false;
    // Contexts of the old document are gone with it.
    if (client_) {
      if (CefRefPtr<CefDisplayHandler> h = client_->GetDisplayHandler())
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
  if (client_) {
    if (CefRefPtr<CefLoadHandler> h = client_->GetLoadHandler()) h->OnLoadStart(this, frame.get(), tt);
  }
  if (restored) FinishRestoredLoad();
}

void BrowserImpl::FinishRestoredLoad() {
  // Only pages served with a 2xx status are kept in the cache.
  status_[target_id_] = 200;
  // The page's script does not run again, so nothing reports its title: ask for it.
  CefRefPtr<BrowserImpl> self = this;
  const long long commit = main_commits_;
  Json p = Json::object();
  p.set("expression", "document.title");
  p.set("returnByValue", true);
  Cmd("Runtime.evaluate", std::move(p), [self, commit](const Json& r, const Json& err) {
    if (self->closed_ || commit != self->main_commits_) return;
    if (err.isNull()) self->ReportPageTitle(r["result"]["value"].str());
    self->main_load_event_ = true;
    self->FinishMainLoad();
  });
}

void BrowserImpl::ReportPageTitle(const std::string& title) {
  if (title.empty() && !title_since_commit_) return;
  title_since_commit_ = true;
  SetTitle(title);
}

void BrowserImpl::SetTitle(const std::string& title) {
  if (title == title_) return;
  title_ = title;
  if (!client_) return;
  if (CefRefPtr<CefDisplayHandler> h = client_->GetDisplayHandler()) h->OnTitleChange(this, title_);
}

void BrowserImpl::OnNavigatedWithinDocument(const std::string&, const Json& params) {
  std::string id = params["frameId"].str();
  std::string url = params["url"].str();
  CefRefPtr<FrameImpl> frame = FrameFor(id);
  frame->set_url(url);
  if (id == target_id_) {
    if (client_) {
      if (CefRefPtr<CefDisplayHandler> h = client_->GetDisplayHandler())
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
}

void BrowserImpl::OnDomContentLoaded(const std::string& session, const Json&) {
  if (session == session_ && loading_) ReportProgress(0.6);
}

void BrowserImpl::OnLoadEventFired(const std::string& session, const Json&) {
  if (session != session_ || !main_committed_) return;
  main_load_event_ = true;
  if (main_stop_pending_) FinishMainLoad();
}

void BrowserImpl::OnFrameStoppedLoading(const std::string&, const Json& params) {
  std::string id = params["frameId"].str();
  if (id != target_id_) {
    if (!error_frames_.count(id) && client_) {
      int status = status_.count(id) ? status_[id] : 0;
      if (CefRefPtr<CefLoadHandler> h = client_->GetLoadHandler())
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
  if (!main_committed_ && history_pending_) {
    FinishUnlessHistoryCommitted();
    return;
  }
  FinishMainLoad();
}

void BrowserImpl::FinishUnlessHistoryCommitted() {
  // A page restored from the back/forward cache stops loading before the renderer reports
  // its commit; a history navigation that never committed leaves the history where it was.
  CefRefPtr<BrowserImpl> self = this;
  const long long before = history_index_;
  Cmd("Page.getNavigationHistory", Json::object(), [self, before](const Json& r, const Json& err) {
    if (self->closed_ || self->main_committed_ || !self->history_pending_) return;
    if (err.isNull() && r["currentIndex"].integer() != before) return;  // its commit follows
    self->FinishMainLoad();
  });
}

void BrowserImpl::FinishMainLoad() {
  main_stop_pending_ = false;
  // A stop from before the current load's document committed (the engine's blank start
  // page finishing late, a navigation cancelled before commit) ends no page load, and a
  // document's load ends once, however many stops it gets.
  if (main_committed_ && !main_finished_ && !error_frames_.count(target_id_) && client_) {
    main_finished_ = true;
    CefRefPtr<FrameImpl> frame = FrameFor(target_id_);
    int status = status_.count(target_id_) ? status_[target_id_] : 0;
    // A page without a title shows its address, as Chromium's own tab does.
    if (!title_since_commit_) SetTitle(frame->url());
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
      self->history_index_ = cur;
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

}  // namespace vexorcef
