#ifndef CEF_INCLUDE_CEF_PROCESS_MESSAGE_H_
#define CEF_INCLUDE_CEF_PROCESS_MESSAGE_H_

#include "include/cef_base.h"
#include "include/cef_values.h"

class CEF_EXPORT CefProcessMessage : public virtual CefBaseRefCounted {
 public:
  static CefRefPtr<CefProcessMessage> Create(const CefString& name);

  virtual bool IsValid() = 0;
  virtual bool IsReadOnly() = 0;
  virtual CefRefPtr<CefProcessMessage> Copy() = 0;
  virtual CefString GetName() = 0;
  virtual CefRefPtr<CefListValue> GetArgumentList() = 0;
};

#endif
