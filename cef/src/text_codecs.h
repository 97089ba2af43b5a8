// Encodings of the engine's own exchanges with its page script.
#ifndef VEXOR_CEF_SRC_TEXT_CODECS_H_
#define VEXOR_CEF_SRC_TEXT_CODECS_H_

#include <string>

namespace vexorcef {

// Undoes encodeURIComponent; a '%' without two hex digits after it stays as it is.
inline std::string PercentDecode(const std::string& s) {
  auto hex = [](char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
  };
  std::string out;
  out.reserve(s.size());
  for (size_t i = 0; i < s.size(); ++i) {
    int hi = s[i] == '%' && i + 2 < s.size() ? hex(s[i + 1]) : -1;
    int lo = hi >= 0 ? hex(s[i + 2]) : -1;
    if (lo < 0) {
      out += s[i];
      continue;
    }
    out += static_cast<char>(hi * 16 + lo);
    i += 2;
  }
  return out;
}

inline std::string Base64Encode(const std::string& s) {
  static const char kDigits[] =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string out;
  out.reserve((s.size() + 2) / 3 * 4);
  for (size_t i = 0; i < s.size(); i += 3) {
    unsigned n = static_cast<unsigned char>(s[i]) << 16;
    if (i + 1 < s.size()) n |= static_cast<unsigned char>(s[i + 1]) << 8;
    if (i + 2 < s.size()) n |= static_cast<unsigned char>(s[i + 2]);
    out += kDigits[(n >> 18) & 63];
    out += kDigits[(n >> 12) & 63];
    out += i + 1 < s.size() ? kDigits[(n >> 6) & 63] : '=';
    out += i + 2 < s.size() ? kDigits[n & 63] : '=';
  }
  return out;
}

}  // namespace vexorcef

#endif
