// JavaScript dialogs between the page's question and the client's answer.
#ifndef VEXOR_CEF_SRC_DIALOG_BROKER_H_
#define VEXOR_CEF_SRC_DIALOG_BROKER_H_

#include <atomic>
#include <functional>
#include <string>

#include "include/cef_jsdialog_handler.h"

namespace vexorcef {

// Answers one JavaScript dialog once, the way it was asked: Chromium's own dialog, or the
// page script's question, whose page stays blocked until it has an answer. Any thread.
class JSDialogCallbackImpl : public CefJSDialogCallback {
 public:
  using Answer = std::function<void(JSDialogCallbackImpl* cb, bool accept, const std::string& text)>;
  JSDialogCallbackImpl(Answer answer, bool refuse_when_abandoned)
      : answer_(std::move(answer)), refuse_when_abandoned_(refuse_when_abandoned) {}
  void Continue(bool success, const CefString& user_input) override {
    if (done_.exchange(true)) return;
    answered_ = true;
    answer_(this, success, user_input.ToString());
  }
  // The dialog went away without an answer (navigation, crash, close, a newer dialog).
  void Abandon() {
    if (!done_.exchange(true) && refuse_when_abandoned_) answer_(this, false, std::string());
  }
  bool answered() const { return answered_.load(); }

 private:
  const Answer answer_;
  const bool refuse_when_abandoned_;
  std::atomic<bool> done_{false};
  std::atomic<bool> answered_{false};
  IMPLEMENT_REFCOUNTING(JSDialogCallbackImpl);
};

// The one dialog a browser has open: offered to the client's dialog handler, and told
// to it when it closes or is abandoned. A newer dialog replaces the open one. UI thread.
class DialogBroker {
 public:
  using HandlerSource = std::function<CefRefPtr<CefJSDialogHandler>()>;
  DialogBroker(CefBrowser* browser, HandlerSource handler)
      : browser_(browser), handler_(std::move(handler)) {}
  DialogBroker(const DialogBroker&) = delete;
  DialogBroker& operator=(const DialogBroker&) = delete;

  // type is alert, confirm, prompt or beforeunload. Without a handler to take it, an alert
  // is accepted, a page may be left, and anything else is refused.
  void Offer(const std::string& type, const std::string& origin_url, const std::string& message,
             const std::string& default_text, CefRefPtr<JSDialogCallbackImpl> cb);
  bool IsOpen(const JSDialogCallbackImpl* cb) const { return cb && dialog_.get() == cb; }
  // The open dialog is gone, answered or not.
  void Closed();
  // The open dialog is abandoned, unless it was answered.
  void Reset();

 private:
  CefBrowser* const browser_;  // owns the broker
  const HandlerSource handler_;
  CefRefPtr<JSDialogCallbackImpl> dialog_;
};

}  // namespace vexorcef

#endif
