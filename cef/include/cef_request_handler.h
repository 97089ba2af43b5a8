#ifndef CEF_INCLUDE_CEF_REQUEST_HANDLER_H_
#define CEF_INCLUDE_CEF_REQUEST_HANDLER_H_

#include <vector>

#include "include/cef_base.h"
#include "include/cef_browser.h"
#include "include/cef_frame.h"
#include "include/cef_request.h"

class CEF_EXPORT CefRequestCallback : public virtual CefBaseRefCounted {
 public:
  virtual void Continue(bool allow) = 0;
  virtual void Cancel() = 0;
};

// Not in CEF: the requests a handler may refuse or change, by the start of their URL (as
// Chromium reports it: canonical, without its fragment) or by their resource type.
struct CefRefusableRequests {
  std::vector<CefString> url_prefixes;
  std::vector<cef_resource_type_t> resource_types;
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
  // I/O thread, for every request of every frame before it is sent, or only for those
  // GetRefusableRequests names. RV_CONTINUE_ASYNC holds it until the callback is answered
  // (from any thread).
  virtual ReturnValue OnBeforeResourceLoad(CefRefPtr<CefBrowser> browser,
                                           CefRefPtr<CefFrame> frame,
                                           CefRefPtr<CefRequest> request,
                                           CefRefPtr<CefRequestCallback> callback) {
    (void)browser; (void)frame; (void)request; (void)callback;
    return RV_CONTINUE;
  }

  // Not in CEF. UI thread, once as the browser is made. Returning true with the requests
  // OnBeforeResourceLoad may refuse or change has Chromium hold only those until it has
  // answered, and send every other request at once without asking. Returning false (the
  // default) has every request held and asked about.
  virtual bool GetRefusableRequests(CefRefusableRequests& refusable) {
    (void)refusable;
    return false;
  }

  virtual void OnRenderProcessTerminated(CefRefPtr<CefBrowser> browser,
                                         TerminationStatus status) {
    (void)browser; (void)status;
  }
};

#endif
