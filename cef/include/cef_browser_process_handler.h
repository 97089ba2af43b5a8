#ifndef CEF_INCLUDE_CEF_BROWSER_PROCESS_HANDLER_H_
#define CEF_INCLUDE_CEF_BROWSER_PROCESS_HANDLER_H_

#include "include/cef_base.h"

class CEF_EXPORT CefBrowserProcessHandler : public virtual CefBaseRefCounted {
 public:
  // Called on the UI thread once the engine can create browsers.
  virtual void OnContextInitialized() {}
};

#endif
