#ifndef CEF_INCLUDE_WRAPPER_CEF_HELPERS_H_
#define CEF_INCLUDE_WRAPPER_CEF_HELPERS_H_

#include "include/cef_task.h"

// Writes "[FATAL:file(line)] Check failed: <condition>. " to stderr. Unlike a debug build of
// the engine, the caller goes on: a thread mistake is reported, not fatal.
CEF_EXPORT void cef_report_check_failed(const char* file, int line, const char* condition);

#define CEF_REQUIRE_THREAD(id, text)                                 \
  do {                                                               \
    if (!CefCurrentlyOn(id)) cef_report_check_failed(__FILE__, __LINE__, text); \
  } while (0)

#define CEF_REQUIRE_UI_THREAD() CEF_REQUIRE_THREAD(TID_UI, "CefCurrentlyOn(TID_UI)")
#define CEF_REQUIRE_IO_THREAD() CEF_REQUIRE_THREAD(TID_IO, "CefCurrentlyOn(TID_IO)")

#endif
