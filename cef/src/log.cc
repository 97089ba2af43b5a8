#include "log.h"

#include <atomic>
#include <cstdio>
#include <cstring>

#include "include/wrapper/cef_helpers.h"

namespace vexorcef {

namespace {
std::atomic<int> g_level{static_cast<int>(LogLevel::Info)};
}

void SetLogLevel(int cef_severity) {
  // LOGSEVERITY_DEFAULT (0) means INFO.
  g_level = cef_severity == 0 ? static_cast<int>(LogLevel::Info) : cef_severity;
}

bool LogEnabled(LogLevel level) {
  return static_cast<int>(level) >= g_level.load(std::memory_order_relaxed) &&
         level != LogLevel::Disabled;
}

void LogLine(LogLevel level, const std::string& text) {
  const char* tag = level == LogLevel::Error     ? "ERROR"
                    : level == LogLevel::Warning ? "WARNING"
                    : level == LogLevel::Info    ? "INFO"
                                                 : "VERBOSE";
  std::fprintf(stderr, "[vexorcef %s] %s\n", tag, text.c_str());
}

}  // namespace vexorcef

void cef_report_check_failed(const char* file, int line, const char* condition) {
  const char* base = std::strrchr(file, '/');
  std::fprintf(stderr, "[FATAL:%s(%d)] Check failed: %s. \n", base ? base + 1 : file, line,
               condition);
}
