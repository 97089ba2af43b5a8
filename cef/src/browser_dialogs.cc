// JavaScript dialogs: offered to the dialog handler, answered, reset. alert, confirm and
// prompt come as the page script's held requests, so Chromium draws no dialog of its own;
// beforeunload, and a dialog the script could not ask for, come as Chromium's.
#include "browser_impl.h"

#include <algorithm>

#include "browser_parts.h"
#include "log.h"
#include "text_codecs.h"
#include "values.h"

namespace vexorcef {

void BrowserImpl::OnDialogRequest(const std::string& session, const Json& params) {
  // I/O thread. The question follows the address's '?', as the page script encoded it.
  const std::string url = params["request"]["url"].str();
  const size_t query = url.find('?');
  const std::string encoded = query == std::string::npos ? std::string() : url.substr(query + 1);
  Json question = Json::parse(PercentDecode(encoded));
  std::shared_ptr<Connection> conn = Engine::Get()->conn();
  const std::string request_id = params["requestId"].str();
  const std::string type = question["type"].str();
  if (type != "alert" && type != "confirm" && type != "prompt") {
    conn->Send("Fetch.failRequest",
               Json::object().set("requestId", request_id).set("errorReason", "BlockedByClient"),
               session);
    return;
  }
  CefRefPtr<BrowserImpl> self = this;
  auto answer = [conn, session, request_id, self](JSDialogCallbackImpl* cb, bool accept,
                                                  const std::string& text) {
    Json body = Json::object();
    body.set("accept", accept);
    body.set("text", text);
    Json headers = Json::array();
    headers.push(Json::object().set("name", "Content-Type").set("value", "application/json"));
    // The page script asks from the page's origin, whatever it is.
    headers.push(Json::object().set("name", "Access-Control-Allow-Origin").set("value", "*"));
    headers.push(Json::object().set("name", "Cache-Control").set("value", "no-store"));
    Json p = Json::object();
    p.set("requestId", request_id);
    p.set("responseCode", 200);
    p.set("responseHeaders", std::move(headers));
    p.set("body", Base64Encode(body.dump()));
    conn->Send("Fetch.fulfillRequest", std::move(p), session);
    CefRefPtr<JSDialogCallbackImpl> answered = cb;
    if (Engine* e = Engine::Get()) {
      e->PostUi([self, answered] {
        if (self->dialogs_.IsOpen(answered.get())) self->dialogs_.Closed();
      });
    }
  };
  CefRefPtr<JSDialogCallbackImpl> cb = new JSDialogCallbackImpl(answer, true);
  const std::string frame_id = params["frameId"].str();
  auto shared = std::make_shared<Json>(std::move(question));
  Engine::Get()->PostUi([self, shared, frame_id, cb] {
    const Json& q = *shared;
    self->OfferDialog(q["type"].str(), self->FrameFor(frame_id)->url(), q["message"].str(),
                      q["text"].str(), cb);
  });
}

void BrowserImpl::OnDialogOpening(const std::string& session, const Json& params) {
  std::shared_ptr<Connection> conn = Engine::Get()->conn();
  CefRefPtr<BrowserImpl> self = this;
  auto answer = [conn, session, self](JSDialogCallbackImpl* cb, bool accept,
                                      const std::string& text) {
    Json p = Json::object();
    p.set("accept", accept);
    p.set("promptText", text);
    CefRefPtr<JSDialogCallbackImpl> answered = cb;
    conn->Send("Page.handleJavaScriptDialog", std::move(p), session,
               [self, answered](const Json&, const Json& err) {
                 if (err.isNull()) return;
                 if (Engine* e = Engine::Get())
                   e->PostUi([self, answered] { self->DialogLost(answered.get()); });
               });
  };
  // Chromium closes its own dialog when the page goes: nothing to answer then.
  OfferDialog(params["type"].str(), params["url"].str(), params["message"].str(),
              params["defaultPrompt"].str(), new JSDialogCallbackImpl(answer, false));
}

void BrowserImpl::OfferDialog(const std::string& type, const std::string& origin_url,
                              const std::string& message, const std::string& default_text,
                              CefRefPtr<JSDialogCallbackImpl> cb) {
  if (closing_ || closed_) {
    cb->Abandon();
    return;
  }
  dialogs_.Offer(type, origin_url, message, default_text, cb);
}

void BrowserImpl::OnDialogClosed(const std::string&, const Json&) { dialogs_.Closed(); }

void BrowserImpl::DialogLost(JSDialogCallbackImpl* cb) {
  // Chromium dropped the dialog it was showing (a second one from another frame replaces
  // the first and then cannot be answered): the page would stay blocked, so reload it.
  if (!dialogs_.IsOpen(cb) || closed_) return;
  dialogs_.Closed();
  VLOG_WARNING("browser " << id_ << ": dialog could not be answered, reloading the page");
  Cmd("Page.reload", Json::object());
}

}  // namespace vexorcef
