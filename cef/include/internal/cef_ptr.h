#ifndef CEF_INCLUDE_INTERNAL_CEF_PTR_H_
#define CEF_INCLUDE_INTERNAL_CEF_PTR_H_

#include <cstddef>
#include <utility>

// Intrusive reference-counted pointer over anything with AddRef()/Release().
template <class T>
class CefRefPtr {
 public:
  typedef T element_type;

  CefRefPtr() : ptr_(nullptr) {}
  CefRefPtr(std::nullptr_t) : ptr_(nullptr) {}
  CefRefPtr(T* p) : ptr_(p) { if (ptr_) ptr_->AddRef(); }
  CefRefPtr(const CefRefPtr<T>& r) : ptr_(r.ptr_) { if (ptr_) ptr_->AddRef(); }
  template <typename U>
  CefRefPtr(const CefRefPtr<U>& r) : ptr_(r.get()) { if (ptr_) ptr_->AddRef(); }
  CefRefPtr(CefRefPtr<T>&& r) noexcept : ptr_(r.ptr_) { r.ptr_ = nullptr; }
  ~CefRefPtr() { if (ptr_) ptr_->Release(); }

  T* get() const { return ptr_; }
  operator T*() const { return ptr_; }
  T* operator->() const { return ptr_; }
  T& operator*() const { return *ptr_; }

  CefRefPtr<T>& operator=(T* p) {
    if (p) p->AddRef();
    T* old = ptr_;
    ptr_ = p;
    if (old) old->Release();
    return *this;
  }
  CefRefPtr<T>& operator=(const CefRefPtr<T>& r) { return *this = r.ptr_; }
  template <typename U>
  CefRefPtr<T>& operator=(const CefRefPtr<U>& r) { return *this = r.get(); }
  CefRefPtr<T>& operator=(CefRefPtr<T>&& r) noexcept {
    if (this != &r) { T* old = ptr_; ptr_ = r.ptr_; r.ptr_ = nullptr; if (old) old->Release(); }
    return *this;
  }
  CefRefPtr<T>& operator=(std::nullptr_t) { return *this = static_cast<T*>(nullptr); }

  void swap(CefRefPtr<T>& r) { std::swap(ptr_, r.ptr_); }

 private:
  T* ptr_;
};

#endif
