#ifndef CEF_INCLUDE_CEF_KEYBOARD_HANDLER_H_
#define CEF_INCLUDE_CEF_KEYBOARD_HANDLER_H_

#include "include/cef_base.h"
#include "include/cef_browser.h"

// Key events here are synthetic (SendKeyEvent) and reach the page directly; the engine has no
// native key events of its own to offer these hooks.
class CEF_EXPORT CefKeyboardHandler : public virtual CefBaseRefCounted {
 public:
  virtual bool OnPreKeyEvent(CefRefPtr<CefBrowser> browser, const CefKeyEvent& event,
                             CefEventHandle os_event, bool* is_keyboard_shortcut) {
    (void)browser; (void)event; (void)os_event; (void)is_keyboard_shortcut;
    return false;
  }
  virtual bool OnKeyEvent(CefRefPtr<CefBrowser> browser, const CefKeyEvent& event,
                          CefEventHandle os_event) {
    (void)browser; (void)event; (void)os_event;
    return false;
  }
};

#endif
