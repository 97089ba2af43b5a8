#ifndef CEF_INCLUDE_WRAPPER_CEF_MESSAGE_ROUTER_H_
#define CEF_INCLUDE_WRAPPER_CEF_MESSAGE_ROUTER_H_

#include "include/cef_base.h"
#include "include/cef_browser.h"
#include "include/cef_process_message.h"

// Page side (installed in every document of every browser):
//   var id = window.cefQuery({request: 'text', persistent: false,
//                             onSuccess: function(response) {},
//                             onFailure: function(error_code, error_message) {}});
//   window.cefQueryCancel(id);
struct CEF_EXPORT CefMessageRouterConfig {
  CefMessageRouterConfig();

  CefString js_query_function;
  CefString js_cancel_function;
};

class CEF_EXPORT CefMessageRouterBrowserSide : public virtual CefBaseRefCounted {
 public:
  class Callback : public virtual CefBaseRefCounted {
   public:
    // For a persistent query Success may be called many times; otherwise once.
    virtual void Success(const CefString& response) = 0;
    // Ends the query.
    virtual void Failure(int error_code, const CefString& error_message) = 0;
  };

  class Handler {
   public:
    typedef CefMessageRouterBrowserSide::Callback Callback;

    // UI thread. Return true to take the query and answer it through callback.
    virtual bool OnQuery(CefRefPtr<CefBrowser> browser, CefRefPtr<CefFrame> frame,
                         int64 query_id, const CefString& request, bool persistent,
                         CefRefPtr<Callback> callback) {
      (void)browser; (void)frame; (void)query_id; (void)request; (void)persistent;
      (void)callback;
      return false;
    }
    // The page cancelled, navigated away, closed or its renderer died.
    virtual void OnQueryCanceled(CefRefPtr<CefBrowser> browser, CefRefPtr<CefFrame> frame,
                                 int64 query_id) {
      (void)browser; (void)frame; (void)query_id;
    }
    virtual ~Handler() {}
  };

  static CefRefPtr<CefMessageRouterBrowserSide> Create(const CefMessageRouterConfig& config);

  virtual bool AddHandler(Handler* handler, bool first) = 0;
  virtual bool RemoveHandler(Handler* handler) = 0;
  virtual void CancelPending(CefRefPtr<CefBrowser> browser, Handler* handler) = 0;
  virtual int GetPendingCount(CefRefPtr<CefBrowser> browser, Handler* handler) = 0;

  virtual void OnBeforeClose(CefRefPtr<CefBrowser> browser) = 0;
  virtual void OnRenderProcessTerminated(CefRefPtr<CefBrowser> browser) = 0;
  virtual void OnBeforeBrowse(CefRefPtr<CefBrowser> browser, CefRefPtr<CefFrame> frame) = 0;
  virtual bool OnProcessMessageReceived(CefRefPtr<CefBrowser> browser,
                                        CefProcessId source_process,
                                        CefRefPtr<CefProcessMessage> message) = 0;
};

#endif
