#ifndef CEF_INCLUDE_CEF_BROWSER_PROCESS_HANDLER_H_
#define CEF_INCLUDE_CEF_BROWSER_PROCESS_HANDLER_H_

#include "include/cef_base.h"

class CEF_EXPORT CefBrowserProcessHandler : public virtual CefBaseRefCounted {
 public:
  // Called on the UI thread once the engine can create browsers.
  virtual void OnContextInitialized() {}
  // With CefSettings.external_message_pump set, called on any thread when the UI thread has
  // engine work: CefDoMessageLoopWork is wanted in delay_ms, at once when 0. Nothing is asked
  // for while the engine has nothing to do.
  virtual void OnScheduleMessagePumpWork(int64 delay_ms) { (void)delay_ms; }
};

#endif
