#ifndef CEF_INCLUDE_CEF_VALUES_H_
#define CEF_INCLUDE_CEF_VALUES_H_

#include "include/cef_base.h"

class CEF_EXPORT CefListValue : public virtual CefBaseRefCounted {
 public:
  static CefRefPtr<CefListValue> Create();

  virtual bool IsValid() = 0;
  virtual bool IsReadOnly() = 0;
  virtual CefRefPtr<CefListValue> Copy() = 0;
  virtual bool SetSize(size_t size) = 0;
  virtual size_t GetSize() = 0;
  virtual bool Clear() = 0;
  virtual bool Remove(size_t index) = 0;
  virtual CefValueType GetType(size_t index) = 0;
  virtual bool GetBool(size_t index) = 0;
  virtual int GetInt(size_t index) = 0;
  virtual double GetDouble(size_t index) = 0;
  virtual CefString GetString(size_t index) = 0;
  virtual bool SetNull(size_t index) = 0;
  virtual bool SetBool(size_t index, bool value) = 0;
  virtual bool SetInt(size_t index, int value) = 0;
  virtual bool SetDouble(size_t index, double value) = 0;
  virtual bool SetString(size_t index, const CefString& value) = 0;
};

#endif
