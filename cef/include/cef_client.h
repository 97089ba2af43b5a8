#ifndef CEF_INCLUDE_CEF_CLIENT_H_
#define CEF_INCLUDE_CEF_CLIENT_H_

#include "include/cef_base.h"
#include "include/cef_context_menu_handler.h"
#include "include/cef_display_handler.h"
#include "include/cef_jsdialog_handler.h"
#include "include/cef_keyboard_handler.h"
#include "include/cef_life_span_handler.h"
#include "include/cef_load_handler.h"
#include "include/cef_process_message.h"
#include "include/cef_request_handler.h"

class CEF_EXPORT CefClient : public virtual CefBaseRefCounted {
 public:
  virtual CefRefPtr<CefContextMenuHandler> GetContextMenuHandler() { return nullptr; }
  virtual CefRefPtr<CefDisplayHandler> GetDisplayHandler() { return nullptr; }
  virtual CefRefPtr<CefJSDialogHandler> GetJSDialogHandler() { return nullptr; }
  virtual CefRefPtr<CefKeyboardHandler> GetKeyboardHandler() { return nullptr; }
  virtual CefRefPtr<CefLifeSpanHandler> GetLifeSpanHandler() { return nullptr; }
  virtual CefRefPtr<CefLoadHandler> GetLoadHandler() { return nullptr; }
  virtual CefRefPtr<CefRequestHandler> GetRequestHandler() { return nullptr; }
  // Messages from the page side (source_process PID_RENDERER). Return true if handled.
  virtual bool OnProcessMessageReceived(CefRefPtr<CefBrowser> browser,
                                        CefProcessId source_process,
                                        CefRefPtr<CefProcessMessage> message) {
    (void)browser; (void)source_process; (void)message;
    return false;
  }
};

#endif
