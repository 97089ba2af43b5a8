#ifndef CEF_INCLUDE_CEF_JSDIALOG_HANDLER_H_
#define CEF_INCLUDE_CEF_JSDIALOG_HANDLER_H_

#include "include/cef_base.h"
#include "include/cef_browser.h"

class CEF_EXPORT CefJSDialogCallback : public virtual CefBaseRefCounted {
 public:
  // May be called from any thread, at any time; only the first call counts.
  virtual void Continue(bool success, const CefString& user_input) = 0;
};

class CEF_EXPORT CefJSDialogHandler : public virtual CefBaseRefCounted {
 public:
  typedef cef_jsdialog_type_t JSDialogType;

  // Return true to answer through the callback later. False applies the default: an alert
  // is acknowledged, a confirm or prompt is cancelled (all of them at once if
  // suppress_message is set).
  virtual bool OnJSDialog(CefRefPtr<CefBrowser> browser, const CefString& origin_url,
                          JSDialogType dialog_type, const CefString& message_text,
                          const CefString& default_prompt_text,
                          CefRefPtr<CefJSDialogCallback> callback, bool& suppress_message) {
    (void)browser; (void)origin_url; (void)dialog_type; (void)message_text;
    (void)default_prompt_text; (void)callback; (void)suppress_message;
    return false;
  }
  // Return true to answer later; false lets the page be left.
  virtual bool OnBeforeUnloadDialog(CefRefPtr<CefBrowser> browser,
                                    const CefString& message_text, bool is_reload,
                                    CefRefPtr<CefJSDialogCallback> callback) {
    (void)browser; (void)message_text; (void)is_reload; (void)callback;
    return false;
  }
  virtual void OnResetDialogState(CefRefPtr<CefBrowser> browser) { (void)browser; }
  virtual void OnDialogClosed(CefRefPtr<CefBrowser> browser) { (void)browser; }
};

#endif
