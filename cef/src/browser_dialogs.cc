// JavaScript dialogs: offered to the dialog handler, answered, reset.
#include "browser_impl.h"

#include <algorithm>

#include "browser_parts.h"
#include "log.h"
#include "values.h"

namespace vexorcef {

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

void BrowserImpl::OnDialogClosed(const std::string&, const Json&) {
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

}  // namespace vexorcef
