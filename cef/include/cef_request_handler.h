#ifndef CEF_INCLUDE_CEF_REQUEST_HANDLER_H_
#define CEF_INCLUDE_CEF_REQUEST_HANDLER_H_

#include "include/cef_base.h"
#include "include/cef_browser.h"
#include "include/cef_frame.h"
#include "include/cef_request.h"

class CEF_EXPORT CefRequestCallback : public virtual CefBaseRefCounted {
 public:
  virtual void Continue(bool allow) = 0;
  virtual void Cancel() = 0;
};

class CEF_EXPORT CefRequestHandler : public virtual CefBaseRefCounted {
 public:
  typedef cef_return_value_t ReturnValue;
  typedef cef_termination_status_t TerminationStatus;

  // UI thread, as a navigation starts. Returning true stops it.
  virtual bool OnBeforeBrowse(CefRefPtr<CefBrowser> browser, CefRefPtr<CefFrame> frame,
                              CefRefPtr<CefRequest> request, bool user_gesture,
                              bool is_redirect) {
    (void)browser; (void)frame; (void)request; (void)user_gesture; (void)is_redirect;
    return false;
  }
  // I/O thread, for every request of every frame before it is sent. RV_CONTINUE_ASYNC
  // holds it until the callback is answered (from any thread).
  virtual ReturnValue OnBeforeResourceLoad(CefRefPtr<CefBrowser> browser,
                                           CefRefPtr<CefFrame> frame,
                                           CefRefPtr<CefRequest> request,
                                           CefRefPtr<CefRequestCallback> callback) {
    (void)browser; (void)frame; (void)request; (void)callback;
    return RV_CONTINUE;
  }
  virtual void OnRenderProcessTerminated(CefRefPtr<CefBrowser> browser,
                                         TerminationStatus status) {
    (void)browser; (void)status;
  }
};

#endif
