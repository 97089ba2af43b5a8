#ifndef CEF_INCLUDE_CEF_BASE_H_
#define CEF_INCLUDE_CEF_BASE_H_

#include <atomic>

#include "include/internal/cef_export.h"
#include "include/internal/cef_ptr.h"
#include "include/internal/cef_string.h"
#include "include/internal/cef_types.h"
#include "include/internal/cef_types_wrappers.h"

// Base of every reference-counted engine interface.
class CEF_EXPORT CefBaseRefCounted {
 public:
  virtual void AddRef() const = 0;
  // Returns true when this call dropped the last reference.
  virtual bool Release() const = 0;
  virtual bool HasOneRef() const = 0;
  virtual bool HasAtLeastOneRef() const = 0;

 protected:
  virtual ~CefBaseRefCounted() {}
};

// Thread-safe counter used by IMPLEMENT_REFCOUNTING.
class CefRefCount {
 public:
  CefRefCount() : ref_count_(0) {}
  CefRefCount(const CefRefCount&) = delete;
  CefRefCount& operator=(const CefRefCount&) = delete;

  void AddRef() const { ref_count_.fetch_add(1, std::memory_order_relaxed); }
  bool Release() const { return ref_count_.fetch_sub(1, std::memory_order_acq_rel) == 1; }
  bool HasOneRef() const { return ref_count_.load(std::memory_order_acquire) == 1; }
  bool HasAtLeastOneRef() const { return ref_count_.load(std::memory_order_acquire) >= 1; }

 private:
  mutable std::atomic<int> ref_count_;
};

#define IMPLEMENT_REFCOUNTING(ClassName)                                   \
 public:                                                                  \
  void AddRef() const override { ref_count_.AddRef(); }                   \
  bool Release() const override {                                         \
    if (ref_count_.Release()) {                                           \
      delete static_cast<const ClassName*>(this);                         \
      return true;                                                        \
    }                                                                     \
    return false;                                                         \
  }                                                                       \
  bool HasOneRef() const override { return ref_count_.HasOneRef(); }      \
  bool HasAtLeastOneRef() const override {                                \
    return ref_count_.HasAtLeastOneRef();                                 \
  }                                                                       \
                                                                          \
 private:                                                                 \
  CefRefCount ref_count_

#define DISALLOW_COPY_AND_ASSIGN(TypeName) \
  TypeName(const TypeName&) = delete;      \
  TypeName& operator=(const TypeName&) = delete

#endif
