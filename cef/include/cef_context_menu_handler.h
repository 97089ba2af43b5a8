#ifndef CEF_INCLUDE_CEF_CONTEXT_MENU_HANDLER_H_
#define CEF_INCLUDE_CEF_CONTEXT_MENU_HANDLER_H_

#include "include/cef_base.h"
#include "include/cef_browser.h"
#include "include/cef_frame.h"
#include "include/cef_menu_model.h"

class CEF_EXPORT CefRunContextMenuCallback : public virtual CefBaseRefCounted {
 public:
  virtual void Continue(int command_id, cef_event_flags_t event_flags) = 0;
  virtual void Cancel() = 0;
};

class CEF_EXPORT CefContextMenuParams : public virtual CefBaseRefCounted {
 public:
  typedef cef_context_menu_type_flags_t TypeFlags;

  virtual int GetXCoord() = 0;
  virtual int GetYCoord() = 0;
  virtual TypeFlags GetTypeFlags() = 0;
  virtual CefString GetLinkUrl() = 0;
  virtual CefString GetPageUrl() = 0;
  virtual CefString GetFrameUrl() = 0;
  virtual CefString GetSelectionText() = 0;
  virtual bool IsEditable() = 0;
};

// The engine never draws a context menu: the page's menu request reaches these hooks and
// ends there, whatever they return.
class CEF_EXPORT CefContextMenuHandler : public virtual CefBaseRefCounted {
 public:
  typedef cef_event_flags_t EventFlags;

  virtual void OnBeforeContextMenu(CefRefPtr<CefBrowser> browser, CefRefPtr<CefFrame> frame,
                                   CefRefPtr<CefContextMenuParams> params,
                                   CefRefPtr<CefMenuModel> model) {
    (void)browser; (void)frame; (void)params; (void)model;
  }
  virtual bool RunContextMenu(CefRefPtr<CefBrowser> browser, CefRefPtr<CefFrame> frame,
                              CefRefPtr<CefContextMenuParams> params,
                              CefRefPtr<CefMenuModel> model,
                              CefRefPtr<CefRunContextMenuCallback> callback) {
    (void)browser; (void)frame; (void)params; (void)model; (void)callback;
    return false;
  }
  virtual bool OnContextMenuCommand(CefRefPtr<CefBrowser> browser, CefRefPtr<CefFrame> frame,
                                    CefRefPtr<CefContextMenuParams> params, int command_id,
                                    EventFlags event_flags) {
    (void)browser; (void)frame; (void)params; (void)command_id; (void)event_flags;
    return false;
  }
  virtual void OnContextMenuDismissed(CefRefPtr<CefBrowser> browser, CefRefPtr<CefFrame> frame) {
    (void)browser; (void)frame;
  }
};

#endif
