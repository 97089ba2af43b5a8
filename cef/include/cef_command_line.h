#ifndef CEF_INCLUDE_CEF_COMMAND_LINE_H_
#define CEF_INCLUDE_CEF_COMMAND_LINE_H_

#include <vector>

#include "include/cef_base.h"

class CEF_EXPORT CefCommandLine : public virtual CefBaseRefCounted {
 public:
  typedef std::vector<CefString> ArgumentList;

  static CefRefPtr<CefCommandLine> CreateCommandLine();

  virtual bool IsValid() = 0;
  virtual bool IsReadOnly() = 0;
  virtual CefRefPtr<CefCommandLine> Copy() = 0;
  virtual void InitFromArgv(int argc, const char* const* argv) = 0;
  virtual void Reset() = 0;
  virtual void GetArgv(std::vector<CefString>& argv) = 0;
  virtual CefString GetCommandLineString() = 0;
  virtual CefString GetProgram() = 0;
  virtual void SetProgram(const CefString& program) = 0;
  virtual bool HasSwitches() = 0;
  virtual bool HasSwitch(const CefString& name) = 0;
  virtual CefString GetSwitchValue(const CefString& name) = 0;
  virtual void AppendSwitch(const CefString& name) = 0;
  virtual void AppendSwitchWithValue(const CefString& name, const CefString& value) = 0;
  virtual bool HasArguments() = 0;
  virtual void GetArguments(ArgumentList& arguments) = 0;
  virtual void AppendArgument(const CefString& argument) = 0;
};

#endif
