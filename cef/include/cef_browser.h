#ifndef CEF_INCLUDE_CEF_BROWSER_H_
#define CEF_INCLUDE_CEF_BROWSER_H_

#include <vector>

#include "include/cef_base.h"
#include "include/cef_frame.h"
#include "include/cef_process_message.h"
#include "include/cef_request_context.h"

class CefBrowserHost;
class CefClient;

class CEF_EXPORT CefBrowser : public virtual CefBaseRefCounted {
 public:
  virtual CefRefPtr<CefBrowserHost> GetHost() = 0;
  virtual bool CanGoBack() = 0;
  virtual void GoBack() = 0;
  virtual bool CanGoForward() = 0;
  virtual void GoForward() = 0;
  virtual bool IsLoading() = 0;
  virtual void Reload() = 0;
  virtual void ReloadIgnoreCache() = 0;
  virtual void StopLoad() = 0;
  virtual int GetIdentifier() = 0;
  virtual bool IsSame(CefRefPtr<CefBrowser> that) = 0;
  virtual bool IsPopup() = 0;
  virtual bool HasDocument() = 0;
  virtual CefRefPtr<CefFrame> GetMainFrame() = 0;
  virtual CefRefPtr<CefFrame> GetFocusedFrame() = 0;
  virtual CefRefPtr<CefFrame> GetFrame(int64 identifier) = 0;
  virtual CefRefPtr<CefFrame> GetFrame(const CefString& name) = 0;
  virtual size_t GetFrameCount() = 0;
  virtual void GetFrameIdentifiers(std::vector<int64>& identifiers) = 0;
  // Delivers the message to the page side of every live document of this browser.
  virtual bool SendProcessMessage(CefProcessId target_process,
                                  CefRefPtr<CefProcessMessage> message) = 0;
};

class CEF_EXPORT CefBrowserHost : public virtual CefBaseRefCounted {
 public:
  // Asynchronous: OnAfterCreated follows from a later CefDoMessageLoopWork. False if the
  // engine is not running or the call is not made on the UI thread.
  static bool CreateBrowser(const CefWindowInfo& windowInfo, CefRefPtr<CefClient> client,
                            const CefString& url, const CefBrowserSettings& settings,
                            CefRefPtr<CefRequestContext> request_context);

  virtual CefRefPtr<CefBrowser> GetBrowser() = 0;
  virtual void CloseBrowser(bool force_close) = 0;
  virtual bool TryCloseBrowser() = 0;
  virtual void SetFocus(bool focus) = 0;
  // The X window the engine made for this browser; Chromium's own window lives inside it.
  virtual CefWindowHandle GetWindowHandle() = 0;
  virtual CefWindowHandle GetOpenerWindowHandle() = 0;
  virtual CefRefPtr<CefClient> GetClient() = 0;
  virtual CefRefPtr<CefRequestContext> GetRequestContext() = 0;
  virtual void WasResized() = 0;
  virtual void SendKeyEvent(const CefKeyEvent& event) = 0;
  virtual void SendMouseClickEvent(const CefMouseEvent& event, MouseButtonType type,
                                   bool mouseUp, int clickCount) = 0;
  virtual void SendMouseMoveEvent(const CefMouseEvent& event, bool mouseLeave) = 0;
  virtual void SendMouseWheelEvent(const CefMouseEvent& event, int deltaX, int deltaY) = 0;
  virtual void SendFocusEvent(bool setFocus) = 0;
};

#endif
