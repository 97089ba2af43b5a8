#ifndef CEF_INCLUDE_INTERNAL_CEF_TYPES_H_
#define CEF_INCLUDE_INTERNAL_CEF_TYPES_H_

#include <cstddef>
#include <cstdint>

#include "include/internal/cef_string.h"

typedef int64_t int64;
typedef uint64_t uint64;
typedef int32_t int32;
typedef uint32_t uint32;
typedef uint32_t cef_color_t;

// An X11 window id; Xlib stays out of the public headers.
typedef unsigned long cef_window_handle_t;
typedef union _XEvent* cef_event_handle_t;

extern "C" {

typedef enum {
  LOGSEVERITY_DEFAULT,
  LOGSEVERITY_VERBOSE,
  LOGSEVERITY_DEBUG = LOGSEVERITY_VERBOSE,
  LOGSEVERITY_INFO,
  LOGSEVERITY_WARNING,
  LOGSEVERITY_ERROR,
  LOGSEVERITY_DISABLE = 99
} cef_log_severity_t;

typedef enum {
  STATE_DEFAULT = 0,
  STATE_ENABLED,
  STATE_DISABLED,
} cef_state_t;

typedef enum {
  TID_UI,
  TID_FILE_BACKGROUND,
  TID_FILE = TID_FILE_BACKGROUND,
  TID_FILE_USER_VISIBLE,
  TID_FILE_USER_BLOCKING,
  TID_PROCESS_LAUNCHER,
  TID_IO,
  TID_RENDERER,
} cef_thread_id_t;

typedef enum {
  PID_BROWSER,
  PID_RENDERER,
} cef_process_id_t;

typedef enum {
  TS_ABNORMAL_TERMINATION,
  TS_PROCESS_WAS_KILLED,
  TS_PROCESS_CRASHED,
  TS_PROCESS_OOM,
} cef_termination_status_t;

typedef enum {
  RT_MAIN_FRAME = 0,
  RT_SUB_FRAME,
  RT_STYLESHEET,
  RT_SCRIPT,
  RT_IMAGE,
  RT_FONT_RESOURCE,
  RT_SUB_RESOURCE,
  RT_OBJECT,
  RT_MEDIA,
  RT_WORKER,
  RT_SHARED_WORKER,
  RT_PREFETCH,
  RT_FAVICON,
  RT_XHR,
  RT_PING,
  RT_SERVICE_WORKER,
  RT_CSP_REPORT,
  RT_PLUGIN_RESOURCE,
} cef_resource_type_t;

typedef enum {
  RV_CANCEL = 0,
  RV_CONTINUE,
  RV_CONTINUE_ASYNC,
} cef_return_value_t;

typedef enum {
  TT_LINK = 0,
  TT_EXPLICIT = 1,
  TT_AUTO_SUBFRAME = 3,
  TT_MANUAL_SUBFRAME = 4,
  TT_FORM_SUBMIT = 7,
  TT_RELOAD = 8,
  TT_SOURCE_MASK = 0xFF,
  TT_FORWARD_BACK_FLAG = 0x01000000,
} cef_transition_type_t;

typedef enum {
  JSDIALOGTYPE_ALERT = 0,
  JSDIALOGTYPE_CONFIRM,
  JSDIALOGTYPE_PROMPT,
} cef_jsdialog_type_t;

typedef enum {
  KEYEVENT_RAWKEYDOWN = 0,
  KEYEVENT_KEYDOWN,
  KEYEVENT_KEYUP,
  KEYEVENT_CHAR
} cef_key_event_type_t;

typedef enum {
  MBT_LEFT = 0,
  MBT_MIDDLE,
  MBT_RIGHT,
} cef_mouse_button_type_t;

typedef enum {
  EVENTFLAG_NONE = 0,
  EVENTFLAG_CAPS_LOCK_ON = 1 << 0,
  EVENTFLAG_SHIFT_DOWN = 1 << 1,
  EVENTFLAG_CONTROL_DOWN = 1 << 2,
  EVENTFLAG_ALT_DOWN = 1 << 3,
  EVENTFLAG_LEFT_MOUSE_BUTTON = 1 << 4,
  EVENTFLAG_MIDDLE_MOUSE_BUTTON = 1 << 5,
  EVENTFLAG_RIGHT_MOUSE_BUTTON = 1 << 6,
  EVENTFLAG_COMMAND_DOWN = 1 << 7,
  EVENTFLAG_NUM_LOCK_ON = 1 << 8,
  EVENTFLAG_IS_KEY_PAD = 1 << 9,
  EVENTFLAG_IS_LEFT = 1 << 10,
  EVENTFLAG_IS_RIGHT = 1 << 11,
} cef_event_flags_t;

typedef enum {
  WOD_UNKNOWN,
  WOD_CURRENT_TAB,
  WOD_SINGLETON_TAB,
  WOD_NEW_FOREGROUND_TAB,
  WOD_NEW_BACKGROUND_TAB,
  WOD_NEW_POPUP,
  WOD_NEW_WINDOW,
  WOD_SAVE_TO_DISK,
  WOD_OFF_THE_RECORD,
  WOD_IGNORE_ACTION
} cef_window_open_disposition_t;

typedef enum {
  VTYPE_INVALID = 0,
  VTYPE_NULL,
  VTYPE_BOOL,
  VTYPE_INT,
  VTYPE_DOUBLE,
  VTYPE_STRING,
  VTYPE_BINARY,
  VTYPE_DICTIONARY,
  VTYPE_LIST,
} cef_value_type_t;

typedef enum {
  CM_TYPEFLAG_NONE = 0,
  CM_TYPEFLAG_PAGE = 1 << 0,
  CM_TYPEFLAG_FRAME = 1 << 1,
  CM_TYPEFLAG_LINK = 1 << 2,
  CM_TYPEFLAG_MEDIA = 1 << 3,
  CM_TYPEFLAG_SELECTION = 1 << 4,
  CM_TYPEFLAG_EDITABLE = 1 << 5,
} cef_context_menu_type_flags_t;

typedef enum {
  MENUITEMTYPE_NONE,
  MENUITEMTYPE_COMMAND,
  MENUITEMTYPE_CHECK,
  MENUITEMTYPE_RADIO,
  MENUITEMTYPE_SEPARATOR,
  MENUITEMTYPE_SUBMENU,
} cef_menu_item_type_t;

// Network error codes, numbered as Chromium numbers them.
typedef enum {
  ERR_NONE = 0,
  ERR_FAILED = -2,
  ERR_ABORTED = -3,
  ERR_INVALID_ARGUMENT = -4,
  ERR_INVALID_HANDLE = -5,
  ERR_FILE_NOT_FOUND = -6,
  ERR_TIMED_OUT = -7,
  ERR_FILE_TOO_BIG = -8,
  ERR_UNEXPECTED = -9,
  ERR_ACCESS_DENIED = -10,
  ERR_NOT_IMPLEMENTED = -11,
  ERR_BLOCKED_BY_CLIENT = -20,
  ERR_BLOCKED_BY_RESPONSE = -27,
  ERR_CONNECTION_CLOSED = -100,
  ERR_CONNECTION_RESET = -101,
  ERR_CONNECTION_REFUSED = -102,
  ERR_CONNECTION_ABORTED = -103,
  ERR_CONNECTION_FAILED = -104,
  ERR_NAME_NOT_RESOLVED = -105,
  ERR_INTERNET_DISCONNECTED = -106,
  ERR_SSL_PROTOCOL_ERROR = -107,
  ERR_ADDRESS_INVALID = -108,
  ERR_ADDRESS_UNREACHABLE = -109,
  ERR_SSL_CLIENT_AUTH_CERT_NEEDED = -110,
  ERR_TUNNEL_CONNECTION_FAILED = -111,
  ERR_NO_SSL_VERSIONS_ENABLED = -112,
  ERR_SSL_VERSION_OR_CIPHER_MISMATCH = -113,
  ERR_SSL_RENEGOTIATION_REQUESTED = -114,
  ERR_CERT_COMMON_NAME_INVALID = -200,
  ERR_CERT_BEGIN = ERR_CERT_COMMON_NAME_INVALID,
  ERR_CERT_DATE_INVALID = -201,
  ERR_CERT_AUTHORITY_INVALID = -202,
  ERR_CERT_CONTAINS_ERRORS = -203,
  ERR_CERT_NO_REVOCATION_MECHANISM = -204,
  ERR_CERT_UNABLE_TO_CHECK_REVOCATION = -205,
  ERR_CERT_REVOKED = -206,
  ERR_CERT_INVALID = -207,
  ERR_CERT_WEAK_SIGNATURE_ALGORITHM = -208,
  ERR_CERT_NON_UNIQUE_NAME = -210,
  ERR_CERT_WEAK_KEY = -211,
  ERR_CERT_NAME_CONSTRAINT_VIOLATION = -212,
  ERR_CERT_VALIDITY_TOO_LONG = -213,
  ERR_CERT_END = ERR_CERT_VALIDITY_TOO_LONG,
  ERR_INVALID_URL = -300,
  ERR_DISALLOWED_URL_SCHEME = -301,
  ERR_UNKNOWN_URL_SCHEME = -302,
  ERR_TOO_MANY_REDIRECTS = -310,
  ERR_UNSAFE_REDIRECT = -311,
  ERR_UNSAFE_PORT = -312,
  ERR_INVALID_RESPONSE = -320,
  ERR_INVALID_CHUNKED_ENCODING = -321,
  ERR_METHOD_NOT_SUPPORTED = -322,
  ERR_UNEXPECTED_PROXY_AUTH = -323,
  ERR_EMPTY_RESPONSE = -324,
  ERR_RESPONSE_HEADERS_TOO_BIG = -325,
  ERR_CACHE_MISS = -400,
  ERR_INSECURE_RESPONSE = -501,
} cef_errorcode_t;

typedef struct _cef_main_args_t {
  int argc;
  char** argv;
} cef_main_args_t;

typedef struct _cef_settings_t {
  size_t size;
  int no_sandbox;
  cef_string_t browser_subprocess_path;
  cef_string_t framework_dir_path;
  int multi_threaded_message_loop;
  int external_message_pump;
  int windowless_rendering_enabled;
  int command_line_args_disabled;
  cef_string_t cache_path;
  cef_string_t root_cache_path;
  cef_string_t user_data_path;
  int persist_session_cookies;
  int persist_user_preferences;
  cef_string_t user_agent;
  cef_string_t product_version;
  cef_string_t locale;
  cef_string_t log_file;
  cef_log_severity_t log_severity;
  cef_string_t javascript_flags;
  cef_string_t resources_dir_path;
  cef_string_t locales_dir_path;
  int pack_loading_disabled;
  int remote_debugging_port;
  int uncaught_exception_stack_size;
  int ignore_certificate_errors;
  int enable_net_security_expiration;
  cef_color_t background_color;
  cef_string_t accept_language_list;
} cef_settings_t;

typedef struct _cef_browser_settings_t {
  size_t size;
  int windowless_frame_rate;
  cef_string_t standard_font_family;
  cef_string_t default_encoding;
  int default_font_size;
  cef_state_t javascript;
  cef_state_t javascript_close_windows;
  cef_state_t javascript_access_clipboard;
  cef_state_t plugins;
  cef_state_t image_loading;
  cef_state_t local_storage;
  cef_state_t databases;
  cef_state_t webgl;
  cef_color_t background_color;
  cef_string_t accept_language_list;
} cef_browser_settings_t;

typedef struct _cef_window_info_t {
  cef_string_t window_name;
  unsigned int x;
  unsigned int y;
  unsigned int width;
  unsigned int height;
  cef_window_handle_t parent_window;
  int windowless_rendering_enabled;
  cef_window_handle_t window;
} cef_window_info_t;

typedef struct _cef_rect_t {
  int x;
  int y;
  int width;
  int height;
} cef_rect_t;

typedef struct _cef_key_event_t {
  cef_key_event_type_t type;
  uint32 modifiers;
  int windows_key_code;
  int native_key_code;
  int is_system_key;
  char16 character;
  char16 unmodified_character;
  int focus_on_editable_field;
} cef_key_event_t;

typedef struct _cef_mouse_event_t {
  int x;
  int y;
  uint32 modifiers;
} cef_mouse_event_t;

typedef struct _cef_popup_features_t {
  int x;
  int xSet;
  int y;
  int ySet;
  int width;
  int widthSet;
  int height;
  int heightSet;
  int menuBarVisible;
  int statusBarVisible;
  int toolBarVisible;
  int scrollbarsVisible;
} cef_popup_features_t;
}

#endif
