#ifndef CEF_INCLUDE_CEF_REQUEST_CONTEXT_H_
#define CEF_INCLUDE_CEF_REQUEST_CONTEXT_H_

#include "include/cef_base.h"

// Only the global context exists; browsers are created with a null context.
class CEF_EXPORT CefRequestContext : public virtual CefBaseRefCounted {
 public:
  virtual bool IsGlobal() = 0;
};

#endif
