#ifndef CEF_INCLUDE_CEF_LOAD_HANDLER_H_
#define CEF_INCLUDE_CEF_LOAD_HANDLER_H_

#include "include/cef_base.h"
#include "include/cef_browser.h"
#include "include/cef_frame.h"

class CEF_EXPORT CefLoadHandler : public virtual CefBaseRefCounted {
 public:
  typedef cef_errorcode_t ErrorCode;
  typedef cef_transition_type_t TransitionType;

  virtual void OnLoadingStateChange(CefRefPtr<CefBrowser> browser, bool isLoading,
                                    bool canGoBack, bool canGoForward) {
    (void)browser; (void)isLoading; (void)canGoBack; (void)canGoForward;
  }
  virtual void OnLoadStart(CefRefPtr<CefBrowser> browser, CefRefPtr<CefFrame> frame,
                           TransitionType transition_type) {
    (void)browser; (void)frame; (void)transition_type;
  }
  virtual void OnLoadEnd(CefRefPtr<CefBrowser> browser, CefRefPtr<CefFrame> frame,
                         int httpStatusCode) {
    (void)browser; (void)frame; (void)httpStatusCode;
  }
  virtual void OnLoadError(CefRefPtr<CefBrowser> browser, CefRefPtr<CefFrame> frame,
                           ErrorCode errorCode, const CefString& errorText,
                           const CefString& failedUrl) {
    (void)browser; (void)frame; (void)errorCode; (void)errorText; (void)failedUrl;
  }
};

#endif
