#pragma once

#include "diag/DiagExport.h"

#include "include/cef_client.h"
#include "include/cef_context_menu_handler.h"
#include "include/cef_display_handler.h"
#include "include/cef_jsdialog_handler.h"
#include "include/cef_keyboard_handler.h"
#include "include/cef_life_span_handler.h"
#include "include/cef_load_handler.h"
#include "include/cef_request_handler.h"
#include "include/wrapper/cef_message_router.h"

#include <QMutex>
#include <QObject>
#include <QStringList>
#include <QUrl>
#include <atomic>

class ChromiumManager;
class ChromiumMessageHandler;
class QKeyEvent;
class WebKitView;

// The engine's client for one web view: owns the view's main browser, relays its events to the
// view, polices what it may load, forwards input and answers dialogs and page queries. It
// deletes itself once the engine has let go of it after the browser closed.
//
// Files by concern: lifecycle and crash recovery here, ChromiumClientNavigation.cpp,
// ChromiumClientInput.cpp, ChromiumClientDialogs.cpp.
class DIAG_EXPORT ChromiumClient : public QObject,
                                   public CefClient,
                                   public CefDisplayHandler,
                                   public CefLifeSpanHandler,
                                   public CefLoadHandler,
                                   public CefRequestHandler,
                                   public CefKeyboardHandler,
                                   public CefJSDialogHandler,
                                   public CefContextMenuHandler {
    Q_OBJECT
public:
    explicit ChromiumClient(WebKitView* view);
    ~ChromiumClient() override;

    // Lifecycle
    void resizeBrowser(int width, int height);
    void closeBrowser();
    void viewDeleted();
    CefRefPtr<CefBrowser> browser();
    WebKitView* webView() const { return mWebView; }
    unsigned long windowHandle();

    // Navigation
    void loadUrl(const QUrl& url);
    void loadUrl(const CefString& url);
    QUrl currentUrl() const { return mCurrentUrl; }
    QUrl pendingUrl() const { return mPendingUrl; }
    QString title() const { return mTitle; }

    // Input
    void sendKeyEvent(QKeyEvent* event);
    void sendPressAndRelease(CefKeyEvent& event);
    void sendMouseMove(int x, int y);
    void sendMouseDown(int x, int y);
    void sendMouseUp(int x, int y);
    void sendMouseWheel(int deltaX, int deltaY, int x, int y);
    void sendFocusEvent(bool focused);

    // Dialogs and page queries
    void javaScriptPopupResult(bool accepted, const QString& text);
    void geolocationRequest(const QUrl& url, CefRefPtr<CefMessageRouterBrowserSide::Callback> callback);
    void sendGeolocationStatus(CefRefPtr<CefMessageRouterBrowserSide::Callback> callback, bool granted);
    // The answer to a granted query; coarse on purpose (six significant digits).
    static QString positionJson();

    // CefClient
    CefRefPtr<CefDisplayHandler> GetDisplayHandler() override { return this; }
    CefRefPtr<CefLifeSpanHandler> GetLifeSpanHandler() override { return this; }
    CefRefPtr<CefLoadHandler> GetLoadHandler() override { return this; }
    CefRefPtr<CefRequestHandler> GetRequestHandler() override { return this; }
    CefRefPtr<CefKeyboardHandler> GetKeyboardHandler() override { return this; }
    CefRefPtr<CefJSDialogHandler> GetJSDialogHandler() override { return this; }
    CefRefPtr<CefContextMenuHandler> GetContextMenuHandler() override { return this; }
    bool OnProcessMessageReceived(CefRefPtr<CefBrowser> browser, CefProcessId sourceProcess,
                                  CefRefPtr<CefProcessMessage> message) override;

    // CefDisplayHandler
    void OnTitleChange(CefRefPtr<CefBrowser> browser, const CefString& title) override;
    void OnAddressChange(CefRefPtr<CefBrowser> browser, CefRefPtr<CefFrame> frame, const CefString& url) override;
    bool OnConsoleMessage(CefRefPtr<CefBrowser> browser, cef_log_severity_t level, const CefString& message,
                          const CefString& source, int line) override;
    void OnLoadingProgressChange(CefRefPtr<CefBrowser> browser, double progress) override;

    // CefLifeSpanHandler
    void OnAfterCreated(CefRefPtr<CefBrowser> browser) override;
    bool DoClose(CefRefPtr<CefBrowser> browser) override;
    void OnBeforeClose(CefRefPtr<CefBrowser> browser) override;
    bool OnBeforePopup(CefRefPtr<CefBrowser> browser, CefRefPtr<CefFrame> frame, const CefString& targetUrl,
                       const CefString& targetFrameName, WindowOpenDisposition targetDisposition, bool userGesture,
                       const CefPopupFeatures& popupFeatures, CefWindowInfo& windowInfo,
                       CefRefPtr<CefClient>& client, CefBrowserSettings& settings,
                       bool* noJavascriptAccess) override;

    // CefLoadHandler
    void OnLoadStart(CefRefPtr<CefBrowser> browser, CefRefPtr<CefFrame> frame, TransitionType transition) override;
    void OnLoadError(CefRefPtr<CefBrowser> browser, CefRefPtr<CefFrame> frame, ErrorCode errorCode,
                     const CefString& errorText, const CefString& failedUrl) override;
    void OnLoadingStateChange(CefRefPtr<CefBrowser> browser, bool isLoading, bool canGoBack,
                              bool canGoForward) override;
    void OnLoadEnd(CefRefPtr<CefBrowser> browser, CefRefPtr<CefFrame> frame, int httpStatusCode) override;

    // CefRequestHandler
    void OnRenderProcessTerminated(CefRefPtr<CefBrowser> browser, TerminationStatus status) override;
    bool OnBeforeBrowse(CefRefPtr<CefBrowser> browser, CefRefPtr<CefFrame> frame, CefRefPtr<CefRequest> request,
                        bool userGesture, bool isRedirect) override;
    ReturnValue OnBeforeResourceLoad(CefRefPtr<CefBrowser> browser, CefRefPtr<CefFrame> frame,
                                     CefRefPtr<CefRequest> request, CefRefPtr<CefRequestCallback> callback) override;
    bool GetRefusableRequests(CefRefusableRequests& refusable) override;

    // CefKeyboardHandler
    bool OnPreKeyEvent(CefRefPtr<CefBrowser> browser, const CefKeyEvent& event, CefEventHandle osEvent,
                       bool* isKeyboardShortcut) override;

    // CefJSDialogHandler
    bool OnJSDialog(CefRefPtr<CefBrowser> browser, const CefString& originUrl, JSDialogType dialogType,
                    const CefString& messageText, const CefString& defaultPromptText,
                    CefRefPtr<CefJSDialogCallback> callback, bool& suppressMessage) override;
    void OnResetDialogState(CefRefPtr<CefBrowser> browser) override;
    void OnDialogClosed(CefRefPtr<CefBrowser> browser) override;
    bool OnBeforeUnloadDialog(CefRefPtr<CefBrowser> browser, const CefString& messageText, bool isReload,
                              CefRefPtr<CefJSDialogCallback> callback) override;

    // CefContextMenuHandler
    void OnBeforeContextMenu(CefRefPtr<CefBrowser> browser, CefRefPtr<CefFrame> frame,
                             CefRefPtr<CefContextMenuParams> params, CefRefPtr<CefMenuModel> model) override;
    bool RunContextMenu(CefRefPtr<CefBrowser> browser, CefRefPtr<CefFrame> frame,
                        CefRefPtr<CefContextMenuParams> params, CefRefPtr<CefMenuModel> model,
                        CefRefPtr<CefRunContextMenuCallback> callback) override;
    bool OnContextMenuCommand(CefRefPtr<CefBrowser> browser, CefRefPtr<CefFrame> frame,
                              CefRefPtr<CefContextMenuParams> params, int commandId, EventFlags eventFlags) override;

    // Reference counting, atomic: the engine's threads hold references too.
    void AddRef() const override;
    bool Release() const override;
    bool HasOneRef() const override;
    bool HasAtLeastOneRef() const override;

private:
    // The client holds itself until its browser has closed (or was never made), so the engine
    // dropping its last reference early cannot delete it under the view.
    void releaseSelf();

    CefRefPtr<CefBrowser> mBrowser;
    int32 mBrowserId = 0;
    unsigned long mWindowHandle = 0;
    bool mClosing = false;
    QMutex mMutex;
    QUrl mCurrentUrl;
    QUrl mPendingUrl;
    int32 mCrashCount = 0;
    QString mTitle;
    int32 mUrlRequested = 0;
    CefRefPtr<CefJSDialogCallback> mDialogCallback;
    CefRefPtr<CefMessageRouterBrowserSide> mMessageRouter;
    ChromiumMessageHandler* mMessageHandler = nullptr;
    QStringList mGeolocationHosts;
    CefRefPtr<CefMessageRouterBrowserSide::Callback> mGeolocationCallback;
    QString mGeolocationHost;
    WebKitView* mWebView;
    ChromiumManager* mManager;
    mutable std::atomic<int> mRefCount{0};
    bool mHoldsSelf = false;
    bool mCreationPending = false;
};
