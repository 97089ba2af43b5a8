#include "dialog_broker.h"

namespace vexorcef {

void DialogBroker::Offer(const std::string& type, const std::string& origin_url,
                         const std::string& message, const std::string& default_text,
                         CefRefPtr<JSDialogCallbackImpl> cb) {
  if (dialog_) Reset();  // a newer dialog replaced the old one
  dialog_ = cb;
  CefRefPtr<CefJSDialogHandler> h = handler_();
  if (type == "beforeunload") {
    if (!h || !h->OnBeforeUnloadDialog(browser_, message, false, cb.get()))
      cb->Continue(true, CefString());
    return;
  }
  JSDialogType t = type == "alert" ? JSDIALOGTYPE_ALERT
                   : type == "confirm" ? JSDIALOGTYPE_CONFIRM : JSDIALOGTYPE_PROMPT;
  bool suppress = false;
  if (!h || !h->OnJSDialog(browser_, origin_url, t, message, default_text, cb.get(), suppress))
    cb->Continue(t == JSDIALOGTYPE_ALERT && !suppress, CefString());
}

void DialogBroker::Closed() {
  if (!dialog_) return;
  CefRefPtr<JSDialogCallbackImpl> cb = dialog_;
  dialog_ = nullptr;
  CefRefPtr<CefJSDialogHandler> h = handler_();
  if (!cb->answered()) {
    cb->Abandon();
    if (h) h->OnResetDialogState(browser_);
  }
  if (h) h->OnDialogClosed(browser_);
}

void DialogBroker::Reset() {
  if (!dialog_) return;
  CefRefPtr<JSDialogCallbackImpl> cb = dialog_;
  dialog_ = nullptr;
  if (cb->answered()) return;
  cb->Abandon();
  if (CefRefPtr<CefJSDialogHandler> h = handler_()) h->OnResetDialogState(browser_);
}

}  // namespace vexorcef
