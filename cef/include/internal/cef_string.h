#ifndef CEF_INCLUDE_INTERNAL_CEF_STRING_H_
#define CEF_INCLUDE_INTERNAL_CEF_STRING_H_

#include <cstddef>
#include <string>

#include "include/internal/cef_export.h"

typedef char16_t char16;

extern "C" {

typedef struct _cef_string_utf16_t {
  char16* str;
  size_t length;
  void (*dtor)(char16* str);
} cef_string_utf16_t;

typedef struct _cef_string_wide_t {
  wchar_t* str;
  size_t length;
  void (*dtor)(wchar_t* str);
} cef_string_wide_t;

typedef struct _cef_string_utf8_t {
  char* str;
  size_t length;
  void (*dtor)(char* str);
} cef_string_utf8_t;

typedef cef_string_utf16_t cef_string_t;
typedef cef_string_utf16_t* cef_string_userfree_t;

// All conversions return 1 on success, 0 if the input held invalid code units (which are
// replaced by U+FFFD in the output).
CEF_EXPORT int cef_string_utf16_set(const char16* src, size_t src_len,
                                    cef_string_utf16_t* output, int copy);
CEF_EXPORT void cef_string_utf16_clear(cef_string_utf16_t* str);
CEF_EXPORT void cef_string_wide_clear(cef_string_wide_t* str);
CEF_EXPORT void cef_string_utf8_clear(cef_string_utf8_t* str);
CEF_EXPORT int cef_string_utf16_to_wide(const char16* src, size_t src_len,
                                        cef_string_wide_t* output);
CEF_EXPORT int cef_string_wide_to_utf16(const wchar_t* src, size_t src_len,
                                        cef_string_utf16_t* output);
CEF_EXPORT int cef_string_utf8_to_utf16(const char* src, size_t src_len,
                                        cef_string_utf16_t* output);
CEF_EXPORT int cef_string_utf16_to_utf8(const char16* src, size_t src_len,
                                        cef_string_utf8_t* output);
}

// UTF-16 string. Either owns its cef_string_t or is attached to one that lives elsewhere
// (as in CefString(&settings.user_agent) = "..."), in which case writes go to that struct.
class CEF_EXPORT CefString {
 public:
  typedef char16 char_type;

  CefString() : string_(nullptr), owner_(false) {}
  CefString(const CefString& str);
  CefString(const std::string& src);
  CefString(const char* src);
  CefString(const std::wstring& src);
  CefString(const wchar_t* src);
  CefString(const std::u16string& src);
  CefString(const char16* src);
  // Attaches to an existing struct without copying; the struct must outlive this object.
  CefString(const cef_string_t* src) : string_(const_cast<cef_string_t*>(src)), owner_(false) {}
  CefString(cef_string_t* src) : string_(src), owner_(false) {}
  ~CefString() { ClearAndFree(); }

  CefString& operator=(const CefString& str);
  CefString& operator=(const std::string& str) { FromString(str); return *this; }
  CefString& operator=(const char* str) { FromString(std::string(str ? str : "")); return *this; }
  CefString& operator=(const std::wstring& str) { FromWString(str); return *this; }
  CefString& operator=(const wchar_t* str) { FromWString(std::wstring(str ? str : L"")); return *this; }
  CefString& operator=(const std::u16string& str) { FromString16(str); return *this; }

  const char16* c_str() const { return string_ ? string_->str : nullptr; }
  size_t length() const { return string_ ? string_->length : 0; }
  size_t size() const { return length(); }
  bool empty() const { return length() == 0; }
  int compare(const CefString& str) const;
  void clear();

  const cef_string_t* GetStruct() const { return string_; }
  cef_string_t* GetWritableStruct();

  std::string ToString() const;  // UTF-8
  std::wstring ToWString() const;  // UTF-32
  std::u16string ToString16() const;
  bool FromString(const std::string& str);  // from UTF-8
  bool FromWString(const std::wstring& str);
  bool FromString16(const std::u16string& str);
  bool FromString(const char16* data, size_t length, bool copy);

  operator std::string() const { return ToString(); }
  operator std::wstring() const { return ToWString(); }
  operator std::u16string() const { return ToString16(); }

  bool operator<(const CefString& o) const { return compare(o) < 0; }
  bool operator==(const CefString& o) const { return compare(o) == 0; }
  bool operator!=(const CefString& o) const { return compare(o) != 0; }

 private:
  void AllocIfNeeded();
  void ClearAndFree();

  cef_string_t* string_;
  bool owner_;
};

#endif
