// Navigation, load and display events; the resource policy asked about requests.
#include "gui/cef/ChromiumClient.h"

#include "core/Logger.h"
#include "diag/DiagConfig.h"
#include "gui/cef/ChromiumUtils.h"
#include "gui/cef/ResourcePolicy.h"
#include "gui/cef/WebKitView.h"

#include "include/cef_browser.h"
#include "include/cef_frame.h"
#include "include/cef_request.h"
#include "include/wrapper/cef_helpers.h"

void ChromiumClient::loadUrl(const QUrl& url)
{
    mPendingUrl = url;
    mCurrentUrl = QUrl();
    mTitle = QStringLiteral("");
    if (mBrowser) {
        Logger(this, "INFO") << ChromiumUtils::privacyLog(QStringLiteral("load url"), url.toString());
        mBrowser->GetMainFrame()->LoadURL(ChromiumUtils::toCefString(url));
        mUrlRequested = 1;
    } else {
        Logger(this, "INFO") << "browser not ready, will try url later" << url.toString();
    }
}

void ChromiumClient::loadUrl(const CefString& url)
{
    loadUrl(ChromiumUtils::toQUrl(url));
}

bool ChromiumClient::OnBeforeBrowse(CefRefPtr<CefBrowser> browser, CefRefPtr<CefFrame> frame,
                                    CefRefPtr<CefRequest> request, bool userGesture, bool isRedirect)
{
    CEF_REQUIRE_UI_THREAD();
    (void)request;
    (void)userGesture;
    (void)isRedirect;
    if (mMessageRouter)
        mMessageRouter->OnBeforeBrowse(browser, frame);
    // Filtering is per resource, navigations included.
    return false;
}

bool ChromiumClient::OnBeforePopup(CefRefPtr<CefBrowser> browser, CefRefPtr<CefFrame> frame, const CefString& targetUrl,
                                   const CefString& targetFrameName, WindowOpenDisposition targetDisposition,
                                   bool userGesture, const CefPopupFeatures& popupFeatures, CefWindowInfo& windowInfo,
                                   CefRefPtr<CefClient>& client, CefBrowserSettings& settings,
                                   bool* noJavascriptAccess)
{
    CEF_REQUIRE_UI_THREAD();
    (void)browser, (void)frame, (void)targetFrameName, (void)targetDisposition, (void)userGesture;
    (void)popupFeatures, (void)windowInfo, (void)client, (void)settings, (void)noJavascriptAccess;
    if (DebugChromium.value())
        Logger(this, "INFO") << "virtual bool ChromiumClient::OnBeforePopup(...)"
                             << "redirect popup to main frame" << ChromiumUtils::toQString(targetUrl);
    // The car has one window: what would open a new one opens here.
    loadUrl(targetUrl);
    return true;
}

CefRequestHandler::ReturnValue ChromiumClient::OnBeforeResourceLoad(CefRefPtr<CefBrowser> browser,
                                                                    CefRefPtr<CefFrame> frame,
                                                                    CefRefPtr<CefRequest> request,
                                                                    CefRefPtr<CefRequestCallback> callback)
{
    CEF_REQUIRE_IO_THREAD();
    (void)browser;
    (void)frame;
    (void)callback;
    return ResourcePolicy::decide(request);
}

bool ChromiumClient::GetRefusableRequests(CefRefusableRequests& refusable)
{
    CEF_REQUIRE_UI_THREAD();
    // In debug mode every request is asked about, so that each one leaves its trace line.
    if (DebugChromium.value())
        return false;
    ResourcePolicy::refusableRequests(refusable);
    return true;
}

void ChromiumClient::OnLoadStart(CefRefPtr<CefBrowser> browser, CefRefPtr<CefFrame> frame, TransitionType transition)
{
    CEF_REQUIRE_UI_THREAD();
    (void)browser;
    (void)transition;
    if (!frame->IsMain())
        return;
    if (DebugChromium.value())
        Logger(this, "INFO") << "virtual void ChromiumClient::OnLoadStart(CefRefPtr<CefBrowser>, CefRefPtr<CefFrame>, "
                                "CefLoadHandler::TransitionType)"
                             << "load progress started";
    if (mWebView) {
        emit mWebView->pageLoadDidCommit();
        emit mWebView->loadingProgressDidStart();
    }
}

void ChromiumClient::OnLoadEnd(CefRefPtr<CefBrowser> browser, CefRefPtr<CefFrame> frame, int httpStatusCode)
{
    CEF_REQUIRE_UI_THREAD();
    (void)browser;
    if (!frame->IsMain())
        return;
    // A load the client did not ask for (history, a link) is at the main frame's address.
    mCurrentUrl = mPendingUrl.isEmpty() ? ChromiumUtils::toQUrl(frame->GetURL()) : mPendingUrl;
    mPendingUrl = QUrl();
    // A page that finished loading ends a crash series.
    mCrashCount = 0;
    if (DebugChromium.value())
        Logger(this, "INFO") << "virtual void ChromiumClient::OnLoadEnd(CefRefPtr<CefBrowser>, CefRefPtr<CefFrame>, int)"
                             << "main frame load progress finished with status" << httpStatusCode;
    if (mWebView) {
        emit mWebView->pageLoadDidFinish();
        emit mWebView->loadingProgressDidFinish();
        emit mWebView->pageDidFirstPaintAfterSuppressedIncrementalRendering();
    }
}

void ChromiumClient::OnLoadError(CefRefPtr<CefBrowser> browser, CefRefPtr<CefFrame> frame, ErrorCode errorCode,
                                 const CefString& errorText, const CefString& failedUrl)
{
    CEF_REQUIRE_UI_THREAD();
    (void)browser;
    if (DebugChromium.value())
        Logger(this, "INFO") << "virtual void ChromiumClient::OnLoadError(CefRefPtr<CefBrowser>, CefRefPtr<CefFrame>, "
                                "CefLoadHandler::ErrorCode, const CefString&, const CefString&)"
                             << int(errorCode) << ChromiumUtils::toQString(errorText);
    // Aborted: replaced by another navigation, not a failure the user should see.
    if (errorCode == ERR_ABORTED)
        return;
    if (frame->IsMain() && mWebView)
        emit mWebView->pageLoadDidFail(ChromiumUtils::toQUrl(failedUrl), ChromiumUtils::toQString(errorText));
}

void ChromiumClient::OnLoadingStateChange(CefRefPtr<CefBrowser> browser, bool isLoading, bool canGoBack,
                                          bool canGoForward)
{
    CEF_REQUIRE_UI_THREAD();
    (void)browser;
    if (DebugChromium.value())
        Logger(this, "INFO") << "virtual void ChromiumClient::OnLoadingStateChange(CefRefPtr<CefBrowser>, bool, bool, bool)"
                             << "loading" << isLoading << "canGoBack" << canGoBack
                             << "canGoForward" << canGoForward;
    if (mWebView)
        emit mWebView->backForwardListDidChange();
}

void ChromiumClient::OnLoadingProgressChange(CefRefPtr<CefBrowser> browser, double progress)
{
    CEF_REQUIRE_UI_THREAD();
    (void)browser;
    if (mWebView)
        emit mWebView->loadingProgressDidChange(progress);
}

void ChromiumClient::OnAddressChange(CefRefPtr<CefBrowser> browser, CefRefPtr<CefFrame> frame, const CefString& url)
{
    CEF_REQUIRE_UI_THREAD();
    (void)browser;
    (void)frame;
    const QUrl address = ChromiumUtils::toQUrl(url);
    if (DebugChromium.value())
        Logger(this, "INFO") << "virtual void ChromiumClient::OnAddressChange(CefRefPtr<CefBrowser>, CefRefPtr<CefFrame>, "
                                "const CefString&)"
                             << "address changed" << address.toString();
    if (mWebView)
        mWebView->urlChanged(address);
}

void ChromiumClient::OnTitleChange(CefRefPtr<CefBrowser> browser, const CefString& title)
{
    CEF_REQUIRE_UI_THREAD();
    (void)browser;
    mTitle = ChromiumUtils::toQString(title);
    if (DebugChromium.value())
        Logger(this, "INFO") << "virtual void ChromiumClient::OnTitleChange(CefRefPtr<CefBrowser>, const CefString&)"
                             << "title changed" << mTitle;
    if (mWebView)
        mWebView->titleChanged(mTitle);
}

bool ChromiumClient::OnConsoleMessage(CefRefPtr<CefBrowser> browser, cef_log_severity_t level,
                                      const CefString& message, const CefString& source, int line)
{
    CEF_REQUIRE_UI_THREAD();
    (void)browser;
    (void)line;
    if (DebugChromium.value())
        Logger(this, "INFO") << "virtual bool ChromiumClient::OnConsoleMessage(CefRefPtr<CefBrowser>, cef_log_severity_t, "
                                "const CefString&, const CefString&, int)"
                             << "level" << int(level) << "message" << ChromiumUtils::toQString(message) << "source"
                             << ChromiumUtils::toQString(source);
    // The page's console stays out of the engine's log.
    return true;
}
