#ifndef CEF_INCLUDE_CEF_CALLBACK_H_
#define CEF_INCLUDE_CEF_CALLBACK_H_

#include "include/cef_base.h"

class CEF_EXPORT CefCompletionCallback : public virtual CefBaseRefCounted {
 public:
  virtual void OnComplete() = 0;
};

#endif
