// The engine's own log: stderr, filtered by the settings' log severity.
#ifndef VEXOR_CEF_SRC_LOG_H_
#define VEXOR_CEF_SRC_LOG_H_

#include <sstream>
#include <string>

namespace vexorcef {

enum class LogLevel { Verbose = 1, Info = 2, Warning = 3, Error = 4, Disabled = 99 };

void SetLogLevel(int cef_severity);
bool LogEnabled(LogLevel level);
void LogLine(LogLevel level, const std::string& text);

}  // namespace vexorcef

#define VEXOR_LOG(level, expr)                                   \
  do {                                                           \
    if (::vexorcef::LogEnabled(level)) {                         \
      std::ostringstream vexor_log_stream;                       \
      vexor_log_stream << expr;                                  \
      ::vexorcef::LogLine(level, vexor_log_stream.str());        \
    }                                                            \
  } while (0)
#define VLOG_ERROR(expr) VEXOR_LOG(::vexorcef::LogLevel::Error, expr)
#define VLOG_WARNING(expr) VEXOR_LOG(::vexorcef::LogLevel::Warning, expr)
#define VLOG_INFO(expr) VEXOR_LOG(::vexorcef::LogLevel::Info, expr)
#define VLOG_VERBOSE(expr) VEXOR_LOG(::vexorcef::LogLevel::Verbose, expr)

#endif
