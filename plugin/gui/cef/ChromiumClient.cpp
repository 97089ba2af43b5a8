#include "gui/cef/ChromiumClient.h"

#include "core/Logger.h"
#include "diag/DiagConfig.h"
#include "gui/cef/ChromiumFocusController.h"
#include "gui/cef/ChromiumManager.h"
#include "gui/cef/ChromiumMessageHandler.h"
#include "gui/cef/ChromiumUtils.h"
#include "gui/cef/WebKitView.h"
#include "views/CenterDisplay.h"
#include "services/X11Utils.h"

#include "include/cef_browser.h"
#include "include/wrapper/cef_helpers.h"

ChromiumClient::ChromiumClient(WebKitView* view)
    : mWebView(view)
    , mManager(theCenterDisplay->chromiumManager())
{
    AddRef();
    mHoldsSelf = true;
    if (!mWebView)
        Logger::logAssert("mWebView", QStringLiteral("need valid web view"), "ChromiumClient", 62);
    if (DebugChromium.value())
        Logger(this, "INFO") << "ChromiumClient::ChromiumClient(WebKitView*)";
    if (!mManager)
        Logger::logAssert("mManager", QString(), "ChromiumClient", 65);
    else
        mManager->initializeCef(this);

    if (ChromiumEnableInputShaping.value())
        new ChromiumFocusController(this);

    CefWindowInfo windowInfo;
    windowInfo.SetAsChild(0, CefRect(0, 0, 1, 1));
    CefBrowserSettings settings;
    mCreationPending = CefBrowserHost::CreateBrowser(windowInfo, this, CefString(), settings, nullptr);
    if (!mCreationPending)
        Logger(this, "ERROR") << "failed to create browser";
}

ChromiumClient::~ChromiumClient()
{
    if (DebugChromium.value())
        Logger(this, "INFO") << "virtual ChromiumClient::~ChromiumClient()";
    if (mManager)
        mManager->uninitializeCef(this);
    delete mMessageHandler;
}

CefRefPtr<CefBrowser> ChromiumClient::browser()
{
    QMutexLocker lock(&mMutex);
    return mBrowser;
}

unsigned long ChromiumClient::windowHandle()
{
    QMutexLocker lock(&mMutex);
    return mWindowHandle;
}

void ChromiumClient::OnAfterCreated(CefRefPtr<CefBrowser> browser)
{
    CEF_REQUIRE_UI_THREAD();
    if (mBrowser) {
        if (browser->IsPopup())
            Logger(this, "WARN") << "unhandled popup browser created" << browser->GetIdentifier();
        else
            Logger(this, "WARN") << "unhandled browser creation" << browser->GetIdentifier();
        return;
    }
    mCreationPending = false;
    {
        QMutexLocker lock(&mMutex);
        mBrowser = browser;
        mBrowserId = browser->GetIdentifier();
        mWindowHandle = browser->GetHost()->GetWindowHandle();
    }
    if (!mMessageRouter) {
        CefMessageRouterConfig config;
        config.js_query_function = "vexorQuery";
        config.js_cancel_function = "vexorQueryCancel";
        mMessageRouter = CefMessageRouterBrowserSide::Create(config);
        delete mMessageHandler;
        mMessageHandler = new ChromiumMessageHandler(this);
        mMessageRouter->AddHandler(mMessageHandler, false);
    }
    if (DebugChromium.value())
        Logger(this, "INFO") << "virtual void ChromiumClient::OnAfterCreated(CefRefPtr<CefBrowser>)"
                             << "main browser created" << mBrowserId << "X11 window handle" << mWindowHandle;
    if (mWebView)
        resizeBrowser(mWebView->width(), mWebView->height());
    if (mPendingUrl.isValid())
        loadUrl(mPendingUrl);
    if (mWebView) {
        mWebView->windowHandleChanged(mWindowHandle);
        mWebView->browserReady();
    } else {
        // The view went away while the browser was being made.
        closeBrowser();
    }
}

void ChromiumClient::resizeBrowser(int width, int height)
{
    if (!mWindowHandle)
        return;
    if (DebugChromium.value())
        Logger(this, "INFO") << "void ChromiumClient::resizeBrowser(int, int)" << width << height << "X11 id"
                             << mWindowHandle;
    X11Utils::resizeWindow(mWindowHandle, width, height);
}

void ChromiumClient::closeBrowser()
{
    CEF_REQUIRE_UI_THREAD();
    if (mClosing) {
        Logger(this, "WARN") << "already closing";
        return;
    }
    if (!mBrowser) {
        Logger(this, "WARN") << "no browser to close";
        return;
    }
    Logger(this, "INFO") << "closing browser";
    mClosing = true;
    // Gone from view at once; the engine destroys it later.
    X11Utils::lowerWindow(mWindowHandle);
    mBrowser->GetHost()->CloseBrowser(true);
}

void ChromiumClient::viewDeleted()
{
    mWebView = nullptr;
    closeBrowser();
    // Nothing will come back from the engine for a browser that was never made.
    if (!mBrowser && !mCreationPending)
        releaseSelf();
}

void ChromiumClient::releaseSelf()
{
    if (!mHoldsSelf)
        return;
    mHoldsSelf = false;
    Release();
}

bool ChromiumClient::DoClose(CefRefPtr<CefBrowser> browser)
{
    CEF_REQUIRE_UI_THREAD();
    (void)browser;
    Logger(this, "INFO") << "request to close main browser"
                         << "closing:" << mClosing << "view:" << static_cast<const void*>(mWebView)
                         << "blocked:" << !mClosing;
    // Only closes the client asked for itself proceed; a page's window.close() is refused.
    return !mClosing;
}

void ChromiumClient::OnBeforeClose(CefRefPtr<CefBrowser> browser)
{
    CEF_REQUIRE_UI_THREAD();
    if (DebugChromium.value())
        Logger(this, "INFO") << "virtual void ChromiumClient::OnBeforeClose(CefRefPtr<CefBrowser>)";
    if (browser->GetIdentifier() != mBrowserId)
        return;
    OnResetDialogState(browser);
    Logger(this, "INFO") << "browser about to close, clearing refs";
    {
        QMutexLocker lock(&mMutex);
        mBrowser = nullptr;
        mBrowserId = 0;
        mWindowHandle = 0;
    }
    if (mMessageRouter) {
        mMessageRouter->OnBeforeClose(browser);
        mMessageRouter->RemoveHandler(mMessageHandler);
    }
    delete mMessageHandler;
    mMessageHandler = nullptr;
    mMessageRouter = nullptr;
    releaseSelf();
}

void ChromiumClient::OnRenderProcessTerminated(CefRefPtr<CefBrowser> browser, TerminationStatus status)
{
    CEF_REQUIRE_UI_THREAD();
    if (DebugChromium.value())
        Logger(this, "INFO") << "virtual void ChromiumClient::OnRenderProcessTerminated(CefRefPtr<CefBrowser>, "
                                "CefRequestHandler::TerminationStatus)"
                             << ChromiumUtils::terminationStatusToString(status);
    if (mMessageRouter)
        mMessageRouter->OnRenderProcessTerminated(browser);
    const CefString url = browser->GetMainFrame()->GetURL();

    // A page that kills its renderer on every load must not loop forever.
    ++mCrashCount;
    if (mCrashCount < ChromiumRenderProcessMaxRetry.value()) {
        Logger(this, "WARN") << "render process crashed" << mCrashCount << "times, reload";
        loadUrl(url);
    } else {
        Logger(this, "WARN") << "gave up after" << mCrashCount << "attempts," << ChromiumUtils::privacyLog("url", url);
        loadUrl(QUrl(QStringLiteral("about:blank")));
        mCrashCount = 0;
    }
}

void ChromiumClient::AddRef() const
{
    mRefCount.fetch_add(1, std::memory_order_relaxed);
}

bool ChromiumClient::Release() const
{
    if (mRefCount.fetch_sub(1, std::memory_order_acq_rel) == 1) {
        delete this;
        return true;
    }
    return false;
}

bool ChromiumClient::HasOneRef() const
{
    return mRefCount.load(std::memory_order_acquire) == 1;
}

bool ChromiumClient::HasAtLeastOneRef() const
{
    return mRefCount.load(std::memory_order_acquire) >= 1;
}
