// The engine's JSON value for DevTools messages; parsed with simdjson.
#ifndef VEXOR_CEF_SRC_JSON_H_
#define VEXOR_CEF_SRC_JSON_H_

#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace vexorcef {

class Json {
 public:
  enum Type { Null, Bool, Number, String, Array, Object };

  Json() = default;
  Json(std::nullptr_t) {}
  Json(bool b) : type_(Bool), b_(b) {}
  Json(int n) : type_(Number), n_(n) {}
  Json(long n) : type_(Number), n_(static_cast<double>(n)) {}
  Json(long long n) : type_(Number), n_(static_cast<double>(n)) {}
  Json(unsigned n) : type_(Number), n_(n) {}
  Json(double n) : type_(Number), n_(n) {}
  Json(const char* s) : type_(String), s_(s) {}
  Json(std::string s) : type_(String), s_(std::move(s)) {}

  static Json array() { Json j; j.type_ = Array; return j; }
  static Json object() { Json j; j.type_ = Object; return j; }
  // Returns a Null value and sets *ok = false on malformed input.
  static Json parse(const std::string& text, bool* ok = nullptr);

  Type type() const { return type_; }
  bool isNull() const { return type_ == Null; }
  bool isObject() const { return type_ == Object; }
  bool isArray() const { return type_ == Array; }
  bool isString() const { return type_ == String; }
  bool isNumber() const { return type_ == Number; }
  bool isBool() const { return type_ == Bool; }

  bool boolean(bool def = false) const { return type_ == Bool ? b_ : def; }
  double number(double def = 0) const { return type_ == Number ? n_ : def; }
  long long integer(long long def = 0) const {
    return type_ == Number ? static_cast<long long>(n_) : def;
  }
  const std::string& str() const;
  const std::vector<Json>& items() const { return a_; }
  size_t size() const { return type_ == Array ? a_.size() : o_.size(); }

  // Object access: a missing key reads as Null.
  const Json& operator[](const std::string& key) const;
  const Json& operator[](size_t index) const;
  bool has(const std::string& key) const;
  Json& set(const std::string& key, Json value);
  Json& push(Json value);
  const std::vector<std::pair<std::string, Json>>& members() const { return o_; }

  std::string dump() const;
  void dumpTo(std::string& out) const;

 private:
  friend struct JsonBuilder;
  Type type_ = Null;
  bool b_ = false;
  double n_ = 0;
  std::string s_;
  std::vector<Json> a_;
  std::vector<std::pair<std::string, Json>> o_;
};

void jsonEscape(const std::string& s, std::string& out);

}  // namespace vexorcef

#endif
