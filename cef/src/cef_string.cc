#include <cstdlib>
#include <cstring>

#include "include/internal/cef_string.h"
#include "include/internal/cef_types_wrappers.h"
#include "utf8.h"

namespace {

template <typename T>
void FreeBuffer(T* p) { delete[] p; }

template <typename T, typename S>
void Assign(S* output, const T* data, size_t len) {
  if (output->dtor && output->str) output->dtor(output->str);
  output->str = new T[len + 1];
  if (len) std::memcpy(output->str, data, len * sizeof(T));
  output->str[len] = 0;
  output->length = len;
  output->dtor = &FreeBuffer<T>;
}

// Decodes one code point from UTF-16; bad surrogates give U+FFFD.
unsigned NextUtf16(const char16* s, size_t len, size_t& i, bool& valid) {
  unsigned c = s[i++];
  if (c >= 0xD800 && c < 0xDC00) {
    if (i < len && s[i] >= 0xDC00 && s[i] < 0xE000) {
      return 0x10000 + ((c - 0xD800) << 10) + (s[i++] - 0xDC00);
    }
    valid = false;
    return 0xFFFD;
  }
  if (c >= 0xDC00 && c < 0xE000) {
    valid = false;
    return 0xFFFD;
  }
  return c;
}

void PushUtf16(std::u16string& out, unsigned cp) {
  if (cp >= 0x10000) {
    cp -= 0x10000;
    out += static_cast<char16>(0xD800 + (cp >> 10));
    out += static_cast<char16>(0xDC00 + (cp & 0x3FF));
  } else {
    out += static_cast<char16>(cp);
  }
}

}  // namespace

extern "C" {

int cef_string_utf16_set(const char16* src, size_t src_len, cef_string_utf16_t* output,
                         int copy) {
  if (!output) return 0;
  if (copy) {
    Assign<char16>(output, src, src ? src_len : 0);
  } else {
    cef_string_utf16_clear(output);
    output->str = const_cast<char16*>(src);
    output->length = src_len;
    output->dtor = nullptr;
  }
  return 1;
}

void cef_string_utf16_clear(cef_string_utf16_t* str) {
  if (!str) return;
  if (str->dtor && str->str) str->dtor(str->str);
  str->str = nullptr;
  str->length = 0;
  str->dtor = nullptr;
}

void cef_string_wide_clear(cef_string_wide_t* str) {
  if (!str) return;
  if (str->dtor && str->str) str->dtor(str->str);
  str->str = nullptr;
  str->length = 0;
  str->dtor = nullptr;
}

void cef_string_utf8_clear(cef_string_utf8_t* str) {
  if (!str) return;
  if (str->dtor && str->str) str->dtor(str->str);
  str->str = nullptr;
  str->length = 0;
  str->dtor = nullptr;
}

int cef_string_utf16_to_wide(const char16* src, size_t src_len, cef_string_wide_t* output) {
  std::wstring w;
  bool valid = true;
  for (size_t i = 0; i < src_len;) w += static_cast<wchar_t>(NextUtf16(src, src_len, i, valid));
  Assign<wchar_t>(output, w.data(), w.size());
  return valid;
}

int cef_string_wide_to_utf16(const wchar_t* src, size_t src_len, cef_string_utf16_t* output) {
  std::u16string s;
  bool valid = true;
  for (size_t i = 0; i < src_len; ++i) {
    unsigned cp = static_cast<unsigned>(src[i]);
    if (cp > 0x10FFFF || (cp >= 0xD800 && cp < 0xE000)) {
      valid = false;
      cp = 0xFFFD;
    }
    PushUtf16(s, cp);
  }
  Assign<char16>(output, s.data(), s.size());
  return valid;
}

int cef_string_utf8_to_utf16(const char* src, size_t src_len, cef_string_utf16_t* output) {
  std::u16string s;
  bool valid = true;
  const unsigned char* p = reinterpret_cast<const unsigned char*>(src);
  for (size_t i = 0; i < src_len;) {
    unsigned c = p[i];
    unsigned cp;
    int extra;
    if (c < 0x80) { cp = c; extra = 0; }
    else if ((c & 0xE0) == 0xC0) { cp = c & 0x1F; extra = 1; }
    else if ((c & 0xF0) == 0xE0) { cp = c & 0x0F; extra = 2; }
    else if ((c & 0xF8) == 0xF0) { cp = c & 0x07; extra = 3; }
    else { valid = false; PushUtf16(s, 0xFFFD); ++i; continue; }
    bool bad = false;
    int good = 0;  // continuation bytes that belonged to the broken sequence
    for (int k = 1; k <= extra; ++k) {
      if (i + k >= src_len || (p[i + k] & 0xC0) != 0x80) { bad = true; break; }
      cp = (cp << 6) | (p[i + k] & 0x3F);
      ++good;
    }
    static const unsigned kMin[] = {0, 0x80, 0x800, 0x10000};
    if (bad || cp < kMin[extra] || cp > 0x10FFFF || (cp >= 0xD800 && cp < 0xE000)) {
      // One replacement per broken sequence, as browsers decode it.
      valid = false;
      PushUtf16(s, 0xFFFD);
      i += bad ? 1 + good : 1;
      continue;
    }
    PushUtf16(s, cp);
    i += extra + 1;
  }
  Assign<char16>(output, s.data(), s.size());
  return valid;
}

int cef_string_utf16_to_utf8(const char16* src, size_t src_len, cef_string_utf8_t* output) {
  std::string out;
  bool valid = true;
  for (size_t i = 0; i < src_len;) {
    vexorcef::AppendUtf8(out, NextUtf16(src, src_len, i, valid));
  }
  Assign<char>(output, out.data(), out.size());
  return valid;
}

}  // extern "C"

CefString::CefString(const CefString& str) : string_(nullptr), owner_(false) {
  FromString(str.c_str(), str.length(), true);
}
CefString::CefString(const std::string& src) : string_(nullptr), owner_(false) { FromString(src); }
CefString::CefString(const char* src) : string_(nullptr), owner_(false) {
  if (src) FromString(std::string(src));
}
CefString::CefString(const std::wstring& src) : string_(nullptr), owner_(false) {
  FromWString(src);
}
CefString::CefString(const wchar_t* src) : string_(nullptr), owner_(false) {
  if (src) FromWString(std::wstring(src));
}
CefString::CefString(const std::u16string& src) : string_(nullptr), owner_(false) {
  FromString16(src);
}
CefString::CefString(const char16* src) : string_(nullptr), owner_(false) {
  if (src) FromString16(std::u16string(src));
}

CefString& CefString::operator=(const CefString& str) {
  if (this == &str) return *this;
  if (string_ && str.string_ == string_) return *this;
  std::u16string copy = str.ToString16();
  FromString16(copy);
  return *this;
}

void CefString::AllocIfNeeded() {
  if (!string_) {
    string_ = new cef_string_t;
    std::memset(string_, 0, sizeof(cef_string_t));
    owner_ = true;
  }
}

void CefString::ClearAndFree() {
  if (owner_ && string_) {
    cef_string_utf16_clear(string_);
    delete string_;
  }
  string_ = nullptr;
  owner_ = false;
}

void CefString::clear() {
  if (string_) cef_string_utf16_clear(string_);
}

cef_string_t* CefString::GetWritableStruct() {
  AllocIfNeeded();
  return string_;
}

int CefString::compare(const CefString& str) const {
  size_t a = length(), b = str.length();
  size_t n = a < b ? a : b;
  for (size_t i = 0; i < n; ++i) {
    if (c_str()[i] != str.c_str()[i]) return c_str()[i] < str.c_str()[i] ? -1 : 1;
  }
  return a == b ? 0 : (a < b ? -1 : 1);
}

std::string CefString::ToString() const {
  if (empty()) return std::string();
  cef_string_utf8_t out = {};
  cef_string_utf16_to_utf8(c_str(), length(), &out);
  std::string s(out.str, out.length);
  cef_string_utf8_clear(&out);
  return s;
}

std::wstring CefString::ToWString() const {
  if (empty()) return std::wstring();
  cef_string_wide_t out = {};
  cef_string_utf16_to_wide(c_str(), length(), &out);
  std::wstring s(out.str, out.length);
  cef_string_wide_clear(&out);
  return s;
}

std::u16string CefString::ToString16() const {
  if (empty()) return std::u16string();
  return std::u16string(c_str(), length());
}

bool CefString::FromString(const std::string& str) {
  AllocIfNeeded();
  return cef_string_utf8_to_utf16(str.data(), str.size(), string_) != 0;
}

bool CefString::FromWString(const std::wstring& str) {
  AllocIfNeeded();
  return cef_string_wide_to_utf16(str.data(), str.size(), string_) != 0;
}

bool CefString::FromString16(const std::u16string& str) {
  return FromString(str.data(), str.size(), true);
}

bool CefString::FromString(const char16* data, size_t length, bool copy) {
  AllocIfNeeded();
  return cef_string_utf16_set(data, length, string_, copy ? 1 : 0) != 0;
}

// ---- Structures with string members: deep copies, cleared on destruction.

namespace {

void CopyStr(cef_string_t& dst, const cef_string_t& src) {
  cef_string_utf16_set(src.str, src.length, &dst, 1);
}

void ClearSettings(cef_settings_t* s) {
  cef_string_t* fields[] = {&s->browser_subprocess_path, &s->framework_dir_path, &s->cache_path,
                            &s->root_cache_path, &s->user_data_path, &s->user_agent,
                            &s->product_version, &s->locale, &s->log_file,
                            &s->javascript_flags, &s->resources_dir_path,
                            &s->locales_dir_path, &s->accept_language_list};
  for (cef_string_t* f : fields) cef_string_utf16_clear(f);
}

#define VEXOR_SETTINGS_STRINGS(X)                                                         \
  X(browser_subprocess_path) X(framework_dir_path) X(cache_path) X(root_cache_path)       \
  X(user_data_path) X(user_agent) X(product_version) X(locale) X(log_file)                \
  X(javascript_flags) X(resources_dir_path) X(locales_dir_path) X(accept_language_list)

void CopySettings(cef_settings_t* d, const cef_settings_t* s) {
  ClearSettings(d);
  std::memcpy(d, s, sizeof(cef_settings_t));
#define ZERO(f) std::memset(&d->f, 0, sizeof(cef_string_t));
#define COPY(f) CopyStr(d->f, s->f);
  VEXOR_SETTINGS_STRINGS(ZERO)
  VEXOR_SETTINGS_STRINGS(COPY)
#undef ZERO
#undef COPY
}

}  // namespace

CefSettings::CefSettings() {
  std::memset(static_cast<cef_settings_t*>(this), 0, sizeof(cef_settings_t));
  size = sizeof(cef_settings_t);
}
CefSettings::CefSettings(const CefSettings& r) : CefSettings() { CopySettings(this, &r); }
CefSettings& CefSettings::operator=(const CefSettings& r) {
  if (this != &r) CopySettings(this, &r);
  return *this;
}
CefSettings::~CefSettings() { ClearSettings(this); }

CefBrowserSettings::CefBrowserSettings() {
  std::memset(static_cast<cef_browser_settings_t*>(this), 0, sizeof(cef_browser_settings_t));
  size = sizeof(cef_browser_settings_t);
}
CefBrowserSettings::CefBrowserSettings(const CefBrowserSettings& r) : CefBrowserSettings() {
  *this = r;
}
CefBrowserSettings& CefBrowserSettings::operator=(const CefBrowserSettings& r) {
  if (this == &r) return *this;
  cef_string_utf16_clear(&standard_font_family);
  cef_string_utf16_clear(&default_encoding);
  cef_string_utf16_clear(&accept_language_list);
  std::memcpy(static_cast<cef_browser_settings_t*>(this),
              static_cast<const cef_browser_settings_t*>(&r), sizeof(cef_browser_settings_t));
  std::memset(&standard_font_family, 0, sizeof(cef_string_t));
  std::memset(&default_encoding, 0, sizeof(cef_string_t));
  std::memset(&accept_language_list, 0, sizeof(cef_string_t));
  CopyStr(standard_font_family, r.standard_font_family);
  CopyStr(default_encoding, r.default_encoding);
  CopyStr(accept_language_list, r.accept_language_list);
  return *this;
}
CefBrowserSettings::~CefBrowserSettings() {
  cef_string_utf16_clear(&standard_font_family);
  cef_string_utf16_clear(&default_encoding);
  cef_string_utf16_clear(&accept_language_list);
}

CefWindowInfo::CefWindowInfo() {
  std::memset(static_cast<cef_window_info_t*>(this), 0, sizeof(cef_window_info_t));
}
CefWindowInfo::CefWindowInfo(const CefWindowInfo& r) : CefWindowInfo() { *this = r; }
CefWindowInfo& CefWindowInfo::operator=(const CefWindowInfo& r) {
  if (this == &r) return *this;
  cef_string_utf16_clear(&window_name);
  std::memcpy(static_cast<cef_window_info_t*>(this), static_cast<const cef_window_info_t*>(&r),
              sizeof(cef_window_info_t));
  std::memset(&window_name, 0, sizeof(cef_string_t));
  CopyStr(window_name, r.window_name);
  return *this;
}
CefWindowInfo::~CefWindowInfo() { cef_string_utf16_clear(&window_name); }
