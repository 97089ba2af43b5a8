#ifndef CEF_INCLUDE_CEF_LIFE_SPAN_HANDLER_H_
#define CEF_INCLUDE_CEF_LIFE_SPAN_HANDLER_H_

#include "include/cef_base.h"
#include "include/cef_browser.h"

class CefClient;

class CEF_EXPORT CefLifeSpanHandler : public virtual CefBaseRefCounted {
 public:
  typedef cef_window_open_disposition_t WindowOpenDisposition;

  // Called before a page opens a window, before anything of it loads. Return true to
  // cancel it: no window appears and window.open() returns a closed window.
  virtual bool OnBeforePopup(CefRefPtr<CefBrowser> browser, CefRefPtr<CefFrame> frame,
                             const CefString& target_url, const CefString& target_frame_name,
                             WindowOpenDisposition target_disposition, bool user_gesture,
                             const CefPopupFeatures& popupFeatures, CefWindowInfo& windowInfo,
                             CefRefPtr<CefClient>& client, CefBrowserSettings& settings,
                             bool* no_javascript_access) {
    (void)browser; (void)frame; (void)target_url; (void)target_frame_name;
    (void)target_disposition; (void)user_gesture; (void)popupFeatures; (void)windowInfo;
    (void)client; (void)settings; (void)no_javascript_access;
    return false;
  }
  virtual void OnAfterCreated(CefRefPtr<CefBrowser> browser) { (void)browser; }
  // Return true to keep the browser (a page's window.close() is then refused).
  virtual bool DoClose(CefRefPtr<CefBrowser> browser) { (void)browser; return false; }
  virtual void OnBeforeClose(CefRefPtr<CefBrowser> browser) { (void)browser; }
};

#endif
