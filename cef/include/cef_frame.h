#ifndef CEF_INCLUDE_CEF_FRAME_H_
#define CEF_INCLUDE_CEF_FRAME_H_

#include "include/cef_base.h"

class CefBrowser;

class CEF_EXPORT CefFrame : public virtual CefBaseRefCounted {
 public:
  // False once the frame's document is gone (navigated away, detached or browser closed).
  virtual bool IsValid() = 0;
  virtual void LoadURL(const CefString& url) = 0;
  virtual void ExecuteJavaScript(const CefString& code, const CefString& script_url,
                                 int start_line) = 0;
  virtual bool IsMain() = 0;
  virtual bool IsFocused() = 0;
  virtual CefString GetName() = 0;
  virtual int64 GetIdentifier() = 0;
  virtual CefRefPtr<CefFrame> GetParent() = 0;
  virtual CefString GetURL() = 0;
  virtual CefRefPtr<CefBrowser> GetBrowser() = 0;
};

#endif
