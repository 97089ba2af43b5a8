#ifndef CEF_INCLUDE_CEF_REQUEST_H_
#define CEF_INCLUDE_CEF_REQUEST_H_

#include "include/cef_base.h"

class CEF_EXPORT CefRequest : public virtual CefBaseRefCounted {
 public:
  typedef cef_resource_type_t ResourceType;
  typedef cef_transition_type_t TransitionType;

  static CefRefPtr<CefRequest> Create();

  virtual bool IsReadOnly() = 0;
  virtual CefString GetURL() = 0;
  virtual void SetURL(const CefString& url) = 0;
  virtual CefString GetMethod() = 0;
  virtual void SetMethod(const CefString& method) = 0;
  virtual CefString GetReferrerURL() = 0;
  virtual ResourceType GetResourceType() = 0;
  virtual TransitionType GetTransitionType() = 0;
  virtual uint64 GetIdentifier() = 0;
};

#endif
