// Navigation, and what the client hears of the load state load_ keeps.
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
        self->load_.Fail(std::string(), self->target_id_, "net::ERR_BLOCKED_BY_CLIENT", url);
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
  load_.LoadRequested(frame);
  Cmd("Page.navigate", std::move(p), [self, url, frame](const Json& r, const Json& err) {
    if (!err.isNull()) return;
    std::string text = r["errorText"].str();
    if (!text.empty()) self->load_.Fail(r["loaderId"].str(), frame, text, url);
  });
}

void BrowserImpl::NavigateHistory(int delta) {
  CefRefPtr<BrowserImpl> self = this;
  Cmd("Page.getNavigationHistory", Json::object(), [self, delta](const Json& r, const Json& err) {
    if (!err.isNull()) return;
    long long idx = r["currentIndex"].integer() + delta;
    const Json& entries = r["entries"];
    if (idx < LoadTracker::kFirstHistoryEntry || idx >= static_cast<long long>(entries.size())) return;
    const Json& entry = entries[static_cast<size_t>(idx)];
    const auto transition = static_cast<TransitionType>(TT_EXPLICIT | TT_FORWARD_BACK_FLAG);
    const std::string url = entry["url"].str();
    auto go = [self, transition, id = entry["id"], url](const std::string& final_url) {
      if (final_url != url) {
        self->Navigate(final_url, std::string());  // rewritten by the handler: a new load
        return;
      }
      self->load_.Expect(self->target_id_, transition);
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
      self->load_.Expect(self->target_id_, TT_RELOAD);
      self->Cmd("Page.reload", Json::object().set("ignoreCache", ignore_cache));
    };
    if (self->request_handler_ && self->ScreensPage(url))
      self->ScreenUninterceptedPage(url, TT_RELOAD, go);
    else
      go(url);
  });
}

void BrowserImpl::StopLoad() { Cmd("Page.stopLoading", Json::object()); }

bool BrowserImpl::CanGoBack() { return load_.can_go_back(); }

bool BrowserImpl::CanGoForward() { return load_.can_go_forward(); }

bool BrowserImpl::IsLoading() { return load_.loading(); }

void BrowserImpl::OnFrameStartedNavigating(const std::string& session, const Json& params) {
  const std::optional<TransitionType> transition = load_.OnFrameStartedNavigating(params);
  if (!transition) return;
  const std::string frame_id = params["frameId"].str();
  if (frame_id == target_id_) dialogs_.Reset();
  if (client_ && request_handler_) {
    CefRefPtr<CefRequest> req = new RequestImpl(
        params["url"].str(), "GET", std::string(),
        frame_id == target_id_ ? RT_MAIN_FRAME : RT_SUB_FRAME, *transition);
    if (request_handler_->OnBeforeBrowse(this, FrameFor(frame_id).get(), req, false, false))
      Cmd("Page.stopLoading", Json::object(), nullptr, session);
  }
}

void BrowserImpl::OnFrameNavigated(const std::string&, const Json& params) {
  const Json& fr = params["frame"];
  const std::string id = fr["id"].str();
  CefRefPtr<FrameImpl> frame = FrameFor(id);
  frame->set_url(ShownUrl(fr));
  frame->set_name(fr["name"].str());
  if (fr.has("parentId")) {
    frame->set_parent(fr["parentId"].str());
    frames_.MarkSubframe(id);
  }
  load_.OnFrameNavigated(params);
}

void BrowserImpl::OnNavigatedWithinDocument(const std::string&, const Json& params) {
  const std::string id = params["frameId"].str();
  const std::string url = params["url"].str();
  FrameFor(id)->set_url(url);
  if (id == target_id_) load_.OnMainNavigatedWithinDocument(url);
}

void BrowserImpl::OnDomContentLoaded(const std::string& session, const Json&) {
  if (session == session_) load_.OnDomContentLoaded();
}

void BrowserImpl::OnLoadEventFired(const std::string& session, const Json&) {
  if (session == session_) load_.OnLoadEventFired();
}

std::string BrowserImpl::MainFrameUrl() { return FrameFor(target_id_)->url(); }

void BrowserImpl::LoadingStateChanged(bool loading, bool can_go_back, bool can_go_forward) {
  if (!client_) return;
  if (CefRefPtr<CefLoadHandler> h = client_->GetLoadHandler())
    h->OnLoadingStateChange(this, loading, can_go_back, can_go_forward);
}

void BrowserImpl::ProgressChanged(double progress) {
  if (!client_) return;
  if (CefRefPtr<CefDisplayHandler> h = client_->GetDisplayHandler())
    h->OnLoadingProgressChange(this, progress);
}

void BrowserImpl::TitleChanged(const std::string& title) {
  if (!client_) return;
  if (CefRefPtr<CefDisplayHandler> h = client_->GetDisplayHandler()) h->OnTitleChange(this, title);
}

void BrowserImpl::MainAddressChanged(const std::string& url) {
  if (!client_) return;
  if (CefRefPtr<CefDisplayHandler> h = client_->GetDisplayHandler())
    h->OnAddressChange(this, FrameFor(target_id_).get(), url);
}

void BrowserImpl::LoadStarted(const std::string& frame_id, TransitionType transition) {
  if (!client_) return;
  if (CefRefPtr<CefLoadHandler> h = client_->GetLoadHandler())
    h->OnLoadStart(this, FrameFor(frame_id).get(), transition);
}

void BrowserImpl::LoadEnded(const std::string& frame_id, int http_status) {
  if (!client_) return;
  if (CefRefPtr<CefLoadHandler> h = client_->GetLoadHandler())
    h->OnLoadEnd(this, FrameFor(frame_id).get(), http_status);
}

void BrowserImpl::LoadFailed(const std::string& frame_id, const std::string& error_text,
                             const std::string& url) {
  if (!client_) return;
  if (CefRefPtr<CefLoadHandler> h = client_->GetLoadHandler()) {
    h->OnLoadError(this, FrameFor(frame_id).get(),
                   static_cast<cef_errorcode_t>(NetErrorCode(error_text)), error_text, url);
  }
}

void BrowserImpl::ReadHistory(
    std::function<void(std::optional<LoadTracker::HistoryPosition>)> answer) {
  CefRefPtr<BrowserImpl> self = this;
  Cmd("Page.getNavigationHistory", Json::object(), [self, answer](const Json& r, const Json& err) {
    if (self->closed_) return;
    if (!err.isNull()) {
      answer(std::nullopt);
      return;
    }
    answer(LoadTracker::HistoryPosition{r["currentIndex"].integer(),
                                        static_cast<long long>(r["entries"].size())});
  });
}

void BrowserImpl::ReadTitle(std::function<void(std::optional<std::string>)> answer) {
  CefRefPtr<BrowserImpl> self = this;
  Json p = Json::object();
  p.set("expression", "document.title");
  p.set("returnByValue", true);
  Cmd("Runtime.evaluate", std::move(p), [self, answer](const Json& r, const Json& err) {
    if (self->closed_) return;
    if (err.isNull()) answer(r["result"]["value"].str());
    else answer(std::nullopt);
  });
}

}  // namespace vexorcef
