#ifndef CEF_INCLUDE_CEF_COOKIE_H_
#define CEF_INCLUDE_CEF_COOKIE_H_

#include <vector>

#include "include/cef_base.h"
#include "include/cef_callback.h"

class CEF_EXPORT CefCookieManager : public virtual CefBaseRefCounted {
 public:
  // Null before CefInitialize. The callback, if any, runs on the UI thread.
  static CefRefPtr<CefCookieManager> GetGlobalManager(CefRefPtr<CefCompletionCallback> callback);

  // Chromium keeps cookies for http and https only; asking for more schemes is logged and
  // has no effect beyond those two.
  virtual void SetSupportedSchemes(const std::vector<CefString>& schemes,
                                   CefRefPtr<CefCompletionCallback> callback) = 0;
};

#endif
