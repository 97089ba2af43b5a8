#ifndef CEF_INCLUDE_CEF_APP_H_
#define CEF_INCLUDE_CEF_APP_H_

#include <functional>

#include "include/cef_base.h"
#include "include/cef_browser_process_handler.h"
#include "include/cef_command_line.h"

class CefApp;

// Starts the engine. The calling thread becomes the UI thread and must call
// CefDoMessageLoopWork() regularly, or whenever OnScheduleMessagePumpWork asks with
// external_message_pump set. Returns false, with the reason logged, if Chromium cannot
// be started or does not answer in time. Only multi_threaded_message_loop = 0 is supported.
CEF_EXPORT bool CefInitialize(const CefMainArgs& args, const CefSettings& settings,
                              CefRefPtr<CefApp> application, void* windows_sandbox_info);

// Stops every browser and Chromium. Call on the UI thread after every browser has closed.
CEF_EXPORT void CefShutdown();

// Runs the engine work queued for the UI thread; never blocks.
CEF_EXPORT void CefDoMessageLoopWork();

// Not in CEF: `request` is called, from any thread, when CefDoMessageLoopWork is wanted in
// delay_ms (0: at once), and never while the engine has nothing to do; the same requests
// OnScheduleMessagePumpWork gets with external_message_pump set, for a host that pumps the
// loop on its own timer without that setting. Once set it is asked for a pump at once. An
// empty function stops the calls: none is running or made once this returns. Any thread,
// before or after CefInitialize.
CEF_EXPORT void CefSetMessagePumpRequest(std::function<void(int64 delay_ms)> request);

class CEF_EXPORT CefApp : public virtual CefBaseRefCounted {
 public:
  // process_type is empty for the browser process, the only one that asks here.
  virtual void OnBeforeCommandLineProcessing(const CefString& process_type,
                                             CefRefPtr<CefCommandLine> command_line) {
    (void)process_type;
    (void)command_line;
  }
  virtual CefRefPtr<CefBrowserProcessHandler> GetBrowserProcessHandler() { return nullptr; }
};

#endif
