#include "values.h"

#include <cmath>
#include <memory>
#include <vector>

#include "include/cef_command_line.h"

namespace vexorcef {

namespace {

struct Value {
  CefValueType type = VTYPE_NULL;
  bool b = false;
  int i = 0;
  double d = 0;
  CefString s;
};

class ListValueImpl : public CefListValue {
 public:
  bool IsValid() override { return true; }
  bool IsReadOnly() override { return read_only_; }
  CefRefPtr<CefListValue> Copy() override {
    CefRefPtr<ListValueImpl> c = new ListValueImpl;
    c->values_ = values_;
    return c.get();
  }
  bool SetSize(size_t size) override {
    if (read_only_) return false;
    values_.resize(size);
    return true;
  }
  size_t GetSize() override { return values_.size(); }
  bool Clear() override {
    if (read_only_) return false;
    values_.clear();
    return true;
  }
  bool Remove(size_t index) override {
    if (read_only_ || index >= values_.size()) return false;
    values_.erase(values_.begin() + index);
    return true;
  }
  CefValueType GetType(size_t index) override {
    return index < values_.size() ? values_[index].type : VTYPE_INVALID;
  }
  bool GetBool(size_t index) override {
    if (index >= values_.size()) return false;
    const Value& v = values_[index];
    return v.type == VTYPE_BOOL ? v.b : v.type == VTYPE_INT ? v.i != 0 : false;
  }
  int GetInt(size_t index) override {
    if (index >= values_.size()) return 0;
    const Value& v = values_[index];
    return v.type == VTYPE_INT ? v.i : v.type == VTYPE_BOOL ? v.b : 0;
  }
  double GetDouble(size_t index) override {
    if (index >= values_.size()) return 0;
    const Value& v = values_[index];
    return v.type == VTYPE_DOUBLE ? v.d : v.type == VTYPE_INT ? v.i : 0;
  }
  CefString GetString(size_t index) override {
    if (index >= values_.size() || values_[index].type != VTYPE_STRING) return CefString();
    return values_[index].s;
  }
  bool SetNull(size_t index) override { return Set(index, Value()); }
  bool SetBool(size_t index, bool value) override {
    Value v;
    v.type = VTYPE_BOOL;
    v.b = value;
    return Set(index, v);
  }
  bool SetInt(size_t index, int value) override {
    Value v;
    v.type = VTYPE_INT;
    v.i = value;
    return Set(index, v);
  }
  bool SetDouble(size_t index, double value) override {
    Value v;
    v.type = VTYPE_DOUBLE;
    v.d = value;
    return Set(index, v);
  }
  bool SetString(size_t index, const CefString& value) override {
    Value v;
    v.type = VTYPE_STRING;
    v.s = value;
    return Set(index, v);
  }

  void set_read_only() { read_only_ = true; }

 private:
  bool Set(size_t index, const Value& v) {
    if (read_only_) return false;
    if (index >= values_.size()) values_.resize(index + 1);
    values_[index] = v;
    return true;
  }

  std::vector<Value> values_;
  bool read_only_ = false;
  IMPLEMENT_REFCOUNTING(ListValueImpl);
};

class ProcessMessageImpl : public CefProcessMessage {
 public:
  explicit ProcessMessageImpl(const CefString& name) : name_(name), args_(new ListValueImpl) {}
  bool IsValid() override { return true; }
  bool IsReadOnly() override { return false; }
  CefRefPtr<CefProcessMessage> Copy() override {
    CefRefPtr<ProcessMessageImpl> c = new ProcessMessageImpl(name_);
    c->args_ = args_->Copy();
    return c.get();
  }
  CefString GetName() override { return name_; }
  CefRefPtr<CefListValue> GetArgumentList() override { return args_; }

 private:
  CefString name_;
  CefRefPtr<CefListValue> args_;
  IMPLEMENT_REFCOUNTING(ProcessMessageImpl);
};

class CommandLineImpl : public CefCommandLine {
 public:
  bool IsValid() override { return true; }
  bool IsReadOnly() override { return false; }
  CefRefPtr<CefCommandLine> Copy() override {
    CefRefPtr<CommandLineImpl> c = new CommandLineImpl;
    c->program_ = program_;
    c->switches_ = switches_;
    c->args_ = args_;
    return c.get();
  }
  void InitFromArgv(int argc, const char* const* argv) override {
    Reset();
    if (argc > 0 && argv[0]) program_ = argv[0];
    bool only_args = false;
    for (int i = 1; i < argc; ++i) {
      std::string a = argv[i] ? argv[i] : "";
      if (only_args || a.size() < 3 || a.compare(0, 2, "--") != 0) {
        if (a == "--") { only_args = true; continue; }
        args_.push_back(a);
        continue;
      }
      size_t eq = a.find('=');
      if (eq == std::string::npos) switches_.emplace_back(a.substr(2), "");
      else switches_.emplace_back(a.substr(2, eq - 2), a.substr(eq + 1));
    }
  }
  void Reset() override {
    program_.clear();
    switches_.clear();
    args_.clear();
  }
  void GetArgv(std::vector<CefString>& argv) override {
    argv.clear();
    argv.push_back(program_);
    for (auto& s : switches_) argv.push_back(Render(s));
    for (auto& a : args_) argv.push_back(a);
  }
  CefString GetCommandLineString() override {
    std::string out = program_;
    for (auto& s : switches_) out += " " + Render(s);
    for (auto& a : args_) out += " " + a;
    return out;
  }
  CefString GetProgram() override { return program_; }
  void SetProgram(const CefString& program) override { program_ = program.ToString(); }
  bool HasSwitches() override { return !switches_.empty(); }
  bool HasSwitch(const CefString& name) override { return Find(Norm(name)) != nullptr; }
  CefString GetSwitchValue(const CefString& name) override {
    auto* s = Find(Norm(name));
    return s ? CefString(s->second) : CefString();
  }
  void AppendSwitch(const CefString& name) override { Put(Norm(name), ""); }
  void AppendSwitchWithValue(const CefString& name, const CefString& value) override {
    Put(Norm(name), value.ToString());
  }
  bool HasArguments() override { return !args_.empty(); }
  void GetArguments(ArgumentList& arguments) override {
    arguments.clear();
    for (auto& a : args_) arguments.push_back(a);
  }
  void AppendArgument(const CefString& argument) override { args_.push_back(argument.ToString()); }

 private:
  // A name given with its dashes keeps working: "--show-fps-counter" is "show-fps-counter".
  static std::string Norm(const CefString& name) {
    std::string n = name.ToString();
    size_t i = 0;
    while (i < n.size() && i < 2 && n[i] == '-') ++i;
    return n.substr(i);
  }
  static std::string Render(const std::pair<std::string, std::string>& s) {
    return "--" + s.first + (s.second.empty() ? "" : "=" + s.second);
  }
  std::pair<std::string, std::string>* Find(const std::string& n) {
    for (auto& s : switches_)
      if (s.first == n) return &s;
    return nullptr;
  }
  void Put(const std::string& n, const std::string& v) {
    if (n.empty()) return;
    if (auto* s = Find(n)) s->second = v;
    else switches_.emplace_back(n, v);
  }

  std::string program_;
  std::vector<std::pair<std::string, std::string>> switches_;
  std::vector<std::string> args_;
  IMPLEMENT_REFCOUNTING(CommandLineImpl);
};

}  // namespace

Json ProcessMessageToJson(CefRefPtr<CefProcessMessage> message) {
  Json out = Json::object();
  out.set("name", message->GetName().ToString());
  Json args = Json::array();
  CefRefPtr<CefListValue> list = message->GetArgumentList();
  for (size_t i = 0; i < list->GetSize(); ++i) {
    switch (list->GetType(i)) {
      case VTYPE_BOOL: args.push(list->GetBool(i)); break;
      case VTYPE_INT: args.push(list->GetInt(i)); break;
      case VTYPE_DOUBLE: args.push(list->GetDouble(i)); break;
      case VTYPE_STRING: args.push(list->GetString(i).ToString()); break;
      default: args.push(Json()); break;
    }
  }
  out.set("args", args);
  return out;
}

CefRefPtr<CefProcessMessage> ProcessMessageFromJson(const std::string& name, const Json& args) {
  CefRefPtr<CefProcessMessage> msg = CefProcessMessage::Create(name);
  CefRefPtr<CefListValue> list = msg->GetArgumentList();
  for (size_t i = 0; i < args.size(); ++i) {
    const Json& a = args[i];
    switch (a.type()) {
      case Json::Bool: list->SetBool(i, a.boolean()); break;
      case Json::Number: {
        double d = a.number();
        if (d == std::floor(d) && d >= -2147483648.0 && d <= 2147483647.0)
          list->SetInt(i, static_cast<int>(d));
        else
          list->SetDouble(i, d);
        break;
      }
      case Json::String: list->SetString(i, a.str()); break;
      default: list->SetNull(i); break;
    }
  }
  return msg;
}

}  // namespace vexorcef

CefRefPtr<CefListValue> CefListValue::Create() { return new vexorcef::ListValueImpl; }

CefRefPtr<CefProcessMessage> CefProcessMessage::Create(const CefString& name) {
  return new vexorcef::ProcessMessageImpl(name);
}

CefRefPtr<CefCommandLine> CefCommandLine::CreateCommandLine() {
  return new vexorcef::CommandLineImpl;
}
