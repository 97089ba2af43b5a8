#ifndef CEF_INCLUDE_INTERNAL_CEF_TYPES_WRAPPERS_H_
#define CEF_INCLUDE_INTERNAL_CEF_TYPES_WRAPPERS_H_

#include <cstring>

#include "include/internal/cef_export.h"
#include "include/internal/cef_string.h"
#include "include/internal/cef_types.h"

typedef cef_log_severity_t LogSeverity;
typedef cef_thread_id_t CefThreadId;
typedef cef_process_id_t CefProcessId;
typedef cef_termination_status_t TerminationStatus;
typedef cef_resource_type_t ResourceType;
typedef cef_return_value_t ReturnValue;
typedef cef_transition_type_t TransitionType;
typedef cef_jsdialog_type_t JSDialogType;
typedef cef_key_event_type_t KeyEventType;
typedef cef_mouse_button_type_t MouseButtonType;
typedef cef_event_flags_t EventFlags;
typedef cef_window_open_disposition_t WindowOpenDisposition;
typedef cef_errorcode_t ErrorCode;
typedef cef_window_handle_t CefWindowHandle;
typedef cef_event_handle_t CefEventHandle;
typedef cef_value_type_t CefValueType;
typedef cef_context_menu_type_flags_t TypeFlags;
typedef cef_menu_item_type_t MenuItemType;

class CEF_EXPORT CefMainArgs : public cef_main_args_t {
 public:
  CefMainArgs() { argc = 0; argv = nullptr; }
  CefMainArgs(int argc_arg, char** argv_arg) { argc = argc_arg; argv = argv_arg; }
};

class CEF_EXPORT CefSettings : public cef_settings_t {
 public:
  CefSettings();
  CefSettings(const CefSettings& r);
  CefSettings& operator=(const CefSettings& r);
  ~CefSettings();
};

class CEF_EXPORT CefBrowserSettings : public cef_browser_settings_t {
 public:
  CefBrowserSettings();
  CefBrowserSettings(const CefBrowserSettings& r);
  CefBrowserSettings& operator=(const CefBrowserSettings& r);
  ~CefBrowserSettings();
};

class CefRect : public cef_rect_t {
 public:
  CefRect() { x = y = width = height = 0; }
  CefRect(int x_val, int y_val, int w, int h) { x = x_val; y = y_val; width = w; height = h; }
};

class CEF_EXPORT CefWindowInfo : public cef_window_info_t {
 public:
  CefWindowInfo();
  CefWindowInfo(const CefWindowInfo& r);
  CefWindowInfo& operator=(const CefWindowInfo& r);
  ~CefWindowInfo();

  void SetAsChild(CefWindowHandle parent, const CefRect& rect) {
    parent_window = parent;
    x = rect.x; y = rect.y; width = rect.width; height = rect.height;
  }
  void SetAsWindowless(CefWindowHandle parent) {
    windowless_rendering_enabled = 1;
    parent_window = parent;
  }
};

class CefKeyEvent : public cef_key_event_t {
 public:
  CefKeyEvent() { std::memset(static_cast<cef_key_event_t*>(this), 0, sizeof(cef_key_event_t)); }
};

class CefMouseEvent : public cef_mouse_event_t {
 public:
  CefMouseEvent() { x = y = 0; modifiers = 0; }
};

class CefPopupFeatures : public cef_popup_features_t {
 public:
  CefPopupFeatures() {
    std::memset(static_cast<cef_popup_features_t*>(this), 0, sizeof(cef_popup_features_t));
  }
};

#endif
