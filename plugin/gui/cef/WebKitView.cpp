#include "gui/cef/WebKitView.h"

#include "core/DataValues.h"
#include "core/Logger.h"
#include "diag/DiagConfig.h"
#include "display/DisplayDevice.h"
#include "gui/cef/ChromiumClient.h"
#include "gui/cef/ChromiumUtils.h"
#include "views/CenterDisplay.h"
#include "views/popup/PopupView.h"

#include "include/cef_frame.h"

#include <QJsonObject>
#include <QKeyEvent>

WebKitView::WebKitView(DisplayView* parent)
    : ExternalMultiTouchView(parent)
{
    if (DebugChromium.value())
        Logger(this, "INFO") << "WebKitView::WebKitView(DisplayView*)" << "created";
    qRegisterMetaType<WebKitView::DialogType>();
    setRequiredTouchGesture(2, true);
    setCanHaveKeyFocus(true, false);
    dvConnect(&GUI_allReady, SLOT(createBrowserClient()), true);
}

WebKitView::~WebKitView()
{
    if (DebugChromium.value())
        Logger(this, "INFO") << "virtual WebKitView::~WebKitView()" << "deleted";
    if (mClient) {
        mClient->viewDeleted();
        mClient = nullptr;
    }
}

void WebKitView::createBrowserClient()
{
    bool allReady;
    {
        DataValue::ConditionalLocker locker(GUI_allReady);
        allReady = GUI_allReady.value();
    }
    if (allReady && !mSuspended && !mClient) {
        Logger(this, "INFO") << "Creating browser client";
        mClient = new ChromiumClient(this);
        return;
    }
    Logger(this, "INFO") << "conditions not met for starting browser client, will retry later,"
                         << "all ready:" << allReady << "suspended:" << mSuspended
                         << "client exists:" << !mClient.isNull();
}

ChromiumClient* WebKitView::client() const
{
    return mClient;
}

CefRefPtr<CefBrowser> WebKitView::browser() const
{
    return mClient ? mClient->browser() : nullptr;
}

void WebKitView::loadURL(const QUrl& url)
{
    mLastUrl = url;
    if (browserExists())
        mClient->loadUrl(url);
    else
        Logger(this, "INFO") << "request to load url without client, pending" << url.toString();
}

QUrl WebKitView::url() const
{
    return mClient ? mClient->currentUrl() : mLastUrl;
}

QString WebKitView::title() const
{
    return mClient ? mClient->title() : mLastTitle;
}

bool WebKitView::canGoBack() const
{
    CefRefPtr<CefBrowser> current = browser();
    return current && current->CanGoBack();
}

bool WebKitView::canGoForward() const
{
    CefRefPtr<CefBrowser> current = browser();
    return current && current->CanGoForward();
}

void WebKitView::goBack()
{
    if (canGoBack())
        browser()->GoBack();
}

void WebKitView::goForward()
{
    if (canGoForward())
        browser()->GoForward();
}

void WebKitView::reload()
{
    if (CefRefPtr<CefBrowser> current = browser())
        current->Reload();
}

void WebKitView::reloadFromOrigin()
{
    Logger(this, "INFO") << "unimplemented";
}

void WebKitView::stopLoading()
{
    if (CefRefPtr<CefBrowser> current = browser())
        current->StopLoad();
}

void WebKitView::scrollToTop()
{
    if (browserExists())
        evaluateJavaScriptInMainFrame(QStringLiteral("window.scrollTo(0, 0)"));
}

void WebKitView::javaScriptPopupResult(bool result, const QString& text)
{
    if (mClient)
        mClient->javaScriptPopupResult(result, text);
}

void WebKitView::suspendBrowser(bool suspend)
{
    if (suspend == mSuspended)
        return;
    Logger(this, "INFO") << "browser" << (suspend ? "suspend" : "resume");
    mSuspended = suspend;
    if (!suspend) {
        if (!mClient)
            createBrowserClient();
        return;
    }
    if (mClient) {
        mLastUrl = mClient->currentUrl();
        // Closes the browser and keeps the old client from telling this view anything more.
        mClient->viewDeleted();
        mClient = nullptr;
    }
}

void WebKitView::evaluateJavaScriptInMainFrame(const QString& script)
{
    CefRefPtr<CefBrowser> current = browser();
    if (!current) {
        Logger::logAssert("browserExists()", QStringLiteral("no browser to run javascript in"), "ChromiumWebView", 88);
        return;
    }
    Logger(this, "INFO") << ChromiumUtils::privacyLog(QStringLiteral("running javascript in main frame"), script);
    CefRefPtr<CefFrame> frame = current->GetMainFrame();
    frame->ExecuteJavaScript(ChromiumUtils::toCefString(script), frame->GetURL(), 0);
}

void WebKitView::resized()
{
    ExternalMultiTouchView::resized();
    if (mClient)
        mClient->resizeBrowser(width(), height());
}

bool WebKitView::keyEvent(QKeyEvent* event)
{
    if (!browserExists())
        return false;
    // A press is a whole stroke for the page; the release has nothing more to say.
    if (event->type() == QEvent::KeyPress)
        mClient->sendKeyEvent(event);
    return true;
}

void WebKitView::lostKeyFocus()
{
    if (browserExists())
        mClient->sendFocusEvent(false);
}

bool WebKitView::touchEvent(const TouchEvent& event)
{
    if (event.kind == TouchEvent::Kind::Press) {
        // The keyboard serves another view: it leaves that one.
        if (!hasKeyFocus() && theCenterDisplay->isKeyboardVisible())
            DisplayDevice::setKeyFocus(nullptr);
        if (browserExists())
            mClient->sendFocusEvent(true);
    }
    return ExternalMultiTouchView::touchEvent(event);
}

void WebKitView::tapped(const QPoint& position)
{
    if (!mClient)
        return;
    // The browser window has the view's size: view points are page pixels. The pointer
    // arrives first, or the page may not know what is under it.
    mClient->sendMouseMove(position.x(), position.y());
    mClient->sendMouseDown(position.x(), position.y());
    mClient->sendMouseUp(position.x(), position.y());
}

void WebKitView::scrolled(const QPoint& delta, const QPoint& position)
{
    if (mClient)
        mClient->sendMouseWheel(delta.x(), delta.y(), position.x(), position.y());
}

unsigned long WebKitView::findX11Window(unsigned long current)
{
    (void)current;
    if (!ChromiumEnableCompositeRedirect.value() || !mClient)
        return 0;
    return mClient->windowHandle();
}

void WebKitView::urlChanged(const QUrl& url)
{
    mLastUrl = url;
    emit urlDidChange(url);
}

void WebKitView::titleChanged(const QString& title)
{
    mLastTitle = title;
    emit pageTitleDidChange(title);
}

void WebKitView::browserReady()
{
    Logger(this, "INFO") << "browser ready";
    if (mLastUrl.isValid()) {
        Logger(this, "INFO") << ChromiumUtils::privacyLog(QStringLiteral("load last URL"), mLastUrl.toString());
        loadURL(mLastUrl);
    }
}

void WebKitView::editorStateChanged(bool editing)
{
    const bool debug = DebugChromium.value();
    PopupView* topmost = theCenterDisplay->topmostPopup();
    if (editing && isShown() && (!topmost || isChildOf(topmost))) {
        if (debug)
            Logger(this, "INFO") << "void WebKitView::editorStateChanged(bool)" << "show keyboard";
        setKeyFocus();
        theCenterDisplay->setKeyboardVisible(true);
    } else if (hasKeyFocus()) {
        DisplayDevice::setKeyFocus(nullptr);
        if (debug)
            Logger(this, "INFO") << "hide keyboard";
        theCenterDisplay->setKeyboardVisible(false);
    }
}

void WebKitView::windowHandleChanged(unsigned long window)
{
    if (DebugChromium.value())
        Logger(this, "INFO") << "void WebKitView::windowHandleChanged(Qt::HANDLE)" << "window handle changed" << window;
    resetLayerIfNecessary();
}

void WebKitView::dumpProperties(QJsonObject& out) const
{
    out.insert(QStringLiteral("url"), url().toString());
    out.insert(QStringLiteral("pageTitle"), title());
    out.insert(QStringLiteral("window"), QString::number(mClient ? mClient->windowHandle() : 0));
}
