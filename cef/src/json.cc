#include "json.h"

#include "utf8.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>

namespace vexorcef {

namespace {

const Json kNull;
const std::string kEmpty;


struct Parser {
  const std::string& t;
  size_t i = 0;
  int depth = 0;
  bool ok = true;

  explicit Parser(const std::string& text) : t(text) {}

  void ws() {
    while (i < t.size() && (t[i] == ' ' || t[i] == '\n' || t[i] == '\r' || t[i] == '\t')) ++i;
  }
  bool fail() { ok = false; return false; }

  bool hex4(unsigned& v) {
    if (i + 4 > t.size()) return fail();
    v = 0;
    for (int k = 0; k < 4; ++k) {
      char c = t[i++];
      v <<= 4;
      if (c >= '0' && c <= '9') v |= c - '0';
      else if (c >= 'a' && c <= 'f') v |= c - 'a' + 10;
      else if (c >= 'A' && c <= 'F') v |= c - 'A' + 10;
      else return fail();
    }
    return true;
  }

  bool string(std::string& out) {
    if (t[i] != '"') return fail();
    ++i;
    while (i < t.size()) {
      char c = t[i++];
      if (c == '"') return true;
      if (c != '\\') { out += c; continue; }
      if (i >= t.size()) return fail();
      char e = t[i++];
      switch (e) {
        case '"': out += '"'; break;
        case '\\': out += '\\'; break;
        case '/': out += '/'; break;
        case 'b': out += '\b'; break;
        case 'f': out += '\f'; break;
        case 'n': out += '\n'; break;
        case 'r': out += '\r'; break;
        case 't': out += '\t'; break;
        case 'u': {
          unsigned cp;
          if (!hex4(cp)) return false;
          if (cp >= 0xD800 && cp < 0xDC00 && i + 6 <= t.size() && t[i] == '\\' &&
              t[i + 1] == 'u') {
            size_t save = i;
            i += 2;
            unsigned lo;
            if (!hex4(lo)) return false;
            if (lo >= 0xDC00 && lo < 0xE000) {
              cp = 0x10000 + ((cp - 0xD800) << 10) + (lo - 0xDC00);
            } else {
              i = save;
              cp = 0xFFFD;
            }
          } else if (cp >= 0xD800 && cp < 0xE000) {
            cp = 0xFFFD;
          }
          AppendUtf8(out, cp);
          break;
        }
        default: return fail();
      }
    }
    return fail();
  }

  bool value(Json& out) {
    ws();
    if (i >= t.size()) return fail();
    char c = t[i];
    if (c == '{') {
      if (++depth > 200) return fail();
      ++i;
      out = Json::object();
      ws();
      if (i < t.size() && t[i] == '}') { ++i; --depth; return true; }
      while (true) {
        ws();
        std::string key;
        if (i >= t.size() || !string(key)) return fail();
        ws();
        if (i >= t.size() || t[i] != ':') return fail();
        ++i;
        Json v;
        if (!value(v)) return false;
        out.set(key, std::move(v));
        ws();
        if (i < t.size() && t[i] == ',') { ++i; continue; }
        if (i < t.size() && t[i] == '}') { ++i; --depth; return true; }
        return fail();
      }
    }
    if (c == '[') {
      if (++depth > 200) return fail();
      ++i;
      out = Json::array();
      ws();
      if (i < t.size() && t[i] == ']') { ++i; --depth; return true; }
      while (true) {
        Json v;
        if (!value(v)) return false;
        out.push(std::move(v));
        ws();
        if (i < t.size() && t[i] == ',') { ++i; continue; }
        if (i < t.size() && t[i] == ']') { ++i; --depth; return true; }
        return fail();
      }
    }
    if (c == '"') {
      std::string s;
      if (!string(s)) return false;
      out = Json(std::move(s));
      return true;
    }
    if (t.compare(i, 4, "true") == 0) { i += 4; out = Json(true); return true; }
    if (t.compare(i, 5, "false") == 0) { i += 5; out = Json(false); return true; }
    if (t.compare(i, 4, "null") == 0) { i += 4; out = Json(); return true; }
    const char* start = t.c_str() + i;
    char* end = nullptr;
    double d = std::strtod(start, &end);
    if (end == start) return fail();
    i += end - start;
    out = Json(d);
    return true;
  }
};

}  // namespace

Json Json::parse(const std::string& text, bool* ok) {
  Parser p(text);
  Json out;
  bool good = p.value(out);
  if (good) {
    p.ws();
    good = p.i == text.size();
  }
  if (ok) *ok = good;
  return good ? out : Json();
}

const std::string& Json::str() const { return type_ == String ? s_ : kEmpty; }

const Json& Json::operator[](const std::string& key) const {
  if (type_ != Object) return kNull;
  for (const auto& m : o_)
    if (m.first == key) return m.second;
  return kNull;
}

const Json& Json::operator[](size_t index) const {
  if (type_ != Array || index >= a_.size()) return kNull;
  return a_[index];
}

bool Json::has(const std::string& key) const {
  if (type_ != Object) return false;
  for (const auto& m : o_)
    if (m.first == key) return true;
  return false;
}

Json& Json::set(const std::string& key, Json value) {
  if (type_ != Object) { *this = object(); }
  for (auto& m : o_)
    if (m.first == key) { m.second = std::move(value); return *this; }
  o_.emplace_back(key, std::move(value));
  return *this;
}

Json& Json::push(Json value) {
  if (type_ != Array) { *this = array(); }
  a_.push_back(std::move(value));
  return *this;
}

void jsonEscape(const std::string& s, std::string& out) {
  out += '"';
  for (unsigned char c : s) {
    switch (c) {
      case '"': out += "\\\""; break;
      case '\\': out += "\\\\"; break;
      case '\n': out += "\\n"; break;
      case '\r': out += "\\r"; break;
      case '\t': out += "\\t"; break;
      default:
        if (c < 0x20) {
          char buf[8];
          std::snprintf(buf, sizeof buf, "\\u%04x", c);
          out += buf;
        } else {
          out += static_cast<char>(c);
        }
    }
  }
  out += '"';
}

void Json::dumpTo(std::string& out) const {
  switch (type_) {
    case Null: out += "null"; break;
    case Bool: out += b_ ? "true" : "false"; break;
    case Number: {
      if (std::isfinite(n_) && n_ == std::floor(n_) && std::fabs(n_) < 9e15) {
        out += std::to_string(static_cast<long long>(n_));
      } else if (std::isfinite(n_)) {
        char buf[32];
        std::snprintf(buf, sizeof buf, "%.17g", n_);
        out += buf;
      } else {
        out += "null";
      }
      break;
    }
    case String: jsonEscape(s_, out); break;
    case Array:
      out += '[';
      for (size_t k = 0; k < a_.size(); ++k) {
        if (k) out += ',';
        a_[k].dumpTo(out);
      }
      out += ']';
      break;
    case Object:
      out += '{';
      for (size_t k = 0; k < o_.size(); ++k) {
        if (k) out += ',';
        jsonEscape(o_[k].first, out);
        out += ':';
        o_[k].second.dumpTo(out);
      }
      out += '}';
      break;
  }
}

std::string Json::dump() const {
  std::string out;
  dumpTo(out);
  return out;
}

}  // namespace vexorcef
