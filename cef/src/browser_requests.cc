// Requests, on the I/O thread: the handler decides before Chromium goes on.
#include "browser_impl.h"

#include <algorithm>
#include <cstdlib>

#include "browser_parts.h"
#include "log.h"
#include "values.h"

namespace vexorcef {

// ---------------------------------------------------------------------------------------
// Requests (I/O thread)

void BrowserImpl::OnRequestPaused(const std::string& session, const Json& params) {
  if (StartsWith(params["request"]["url"].str(), kDialogUrl)) {
    OnDialogRequest(session, params);
    return;
  }
  const std::string target = TargetId();
  std::string frame_id = params["frameId"].str();
  if (!frames_.IsSubframe(frame_id) && frame_id != target && params["resourceType"].str() == "Document") {
    // A refused popup's first document can arrive here, before its own session exists.
    // The UI thread has seen the popup offer by now; it tells the two apart.
    CefRefPtr<BrowserImpl> self = this;
    auto shared = std::make_shared<Json>(params);
    Engine::Get()->PostUi([self, session, shared, frame_id] {
      const bool known = self->frames_.IsSubframe(frame_id);
      self->popups_.Hold(frame_id, {session, shared});
      const std::optional<bool> refused = self->popups_.Refused(frame_id);
      if (known || refused) {
        self->ReleaseHeld(frame_id, !known && *refused);
        return;
      }
      Engine::Get()->PostUiDelayed(3000, [self, frame_id] { self->ReleaseHeld(frame_id, false); });
    });
    return;
  }
  HandlePaused(session, params);
}

void BrowserImpl::ReleaseHeld(const std::string& frame_id, bool fail) {
  std::optional<PopupBroker::HeldDocument> released = popups_.Release(frame_id);
  if (!released) return;
  std::shared_ptr<Connection> c = Engine::Get()->conn();
  CefRefPtr<BrowserImpl> self = this;
  c->PostIo([self, held = *released, fail, c] {
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
  UiReleasedRef<CefRequestHandler> handler = RequestHandler();
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
  UiReleasedRef<CefRequestHandler> handler = RequestHandler();
  if (!handler || !ScreensPage(url)) return;
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
    self->load_.Fail(std::string(), frame_id, "net::ERR_BLOCKED_BY_CLIENT", url);
  });
}

}  // namespace vexorcef
