// Windows a page opens: offered to OnBeforePopup, then a browser of their own or closed.
#include "browser_impl.h"

#include <algorithm>

#include "browser_parts.h"
#include "log.h"
#include "values.h"

namespace vexorcef {

void BrowserImpl::OnWindowOpen(const std::string&, const Json& params) {
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
  if (std::optional<PopupBroker::Popup> waiting = popups_.Decided({cancel, info, popup_client}))
    OnPopupAttached(waiting->session, waiting->target_id);
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
  std::optional<PopupBroker::Decision> d = popups_.Attached({session, target_id});
  if (!d) return;  // it waits for the offer
  ReleaseHeld(target_id, d->cancel);
  if (d->cancel) SuppressPopup(session, target_id);
  else Engine::Get()->CreateBrowser(d->info, d->client, std::string(), true, target_id, session);
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
