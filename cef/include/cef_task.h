#ifndef CEF_INCLUDE_CEF_TASK_H_
#define CEF_INCLUDE_CEF_TASK_H_

#include "include/cef_base.h"

// True on the engine thread named: TID_UI is the thread that called CefInitialize, TID_IO the
// thread that reads Chromium's pipe.
CEF_EXPORT bool CefCurrentlyOn(CefThreadId threadId);

#endif
