#ifndef CEF_INCLUDE_CEF_DISPLAY_HANDLER_H_
#define CEF_INCLUDE_CEF_DISPLAY_HANDLER_H_

#include "include/cef_base.h"
#include "include/cef_browser.h"
#include "include/cef_frame.h"

class CEF_EXPORT CefDisplayHandler : public virtual CefBaseRefCounted {
 public:
  virtual void OnAddressChange(CefRefPtr<CefBrowser> browser, CefRefPtr<CefFrame> frame,
                               const CefString& url) {
    (void)browser; (void)frame; (void)url;
  }
  virtual void OnTitleChange(CefRefPtr<CefBrowser> browser, const CefString& title) {
    (void)browser; (void)title;
  }
  // Return true to keep the message out of the engine's own log.
  virtual bool OnConsoleMessage(CefRefPtr<CefBrowser> browser, cef_log_severity_t level,
                                const CefString& message, const CefString& source, int line) {
    (void)browser; (void)level; (void)message; (void)source; (void)line;
    return false;
  }
  virtual void OnLoadingProgressChange(CefRefPtr<CefBrowser> browser, double progress) {
    (void)browser; (void)progress;
  }
};

#endif
