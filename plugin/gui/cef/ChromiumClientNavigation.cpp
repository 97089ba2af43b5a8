// Navigation, load and display events, and the resource policy.
#include "gui/cef/ChromiumClient.h"

#include "core/DataValues.h"
#include "core/Logger.h"
#include "diag/DiagConfig.h"
#include "gui/cef/ChromiumUtils.h"
#include "gui/cef/WebKitView.h"
#include "services/VxWebAPI.h"
#include "services/VxWebContentFilter.h"

#include "include/cef_browser.h"
#include "include/cef_frame.h"
#include "include/cef_request.h"
#include "include/wrapper/cef_helpers.h"

#include <QUrlQuery>
#include <QVariant>

namespace {

const QString kExtensionPrefix = QStringLiteral("chrome-extension://");
// The engine's built-in document viewer.
const QString kAllowedExtensionPage = QStringLiteral("chrome-extension://mhjfbmdgcfjbbpaeojofohoefgiehjai/index.html");
const QString kFilePrefix = QStringLiteral("file://");
const QString kAllowedLocalFolder = QStringLiteral("file:///usr/vexor/UI/assets/web_content/");
const QString kManualFolder = QStringLiteral("file:///usr/vexor/UI/assets/web_content/manual/");
const QString kInternalPagesPrefix = QStringLiteral("chrome://");
// Refused wherever they come from, with the words of their trace line.
const struct {
    cef_resource_type_t type;
    const char* what;
} kRefusedTypes[] = {
    {RT_MEDIA, "media request"}, {RT_PLUGIN_RESOURCE, "plugin request"}, {RT_OBJECT, "object request"}};

} // namespace

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
    return resourcePolicy(request);
}

CefRequestHandler::ReturnValue ChromiumClient::resourcePolicy(CefRefPtr<CefRequest> request)
{
    static const char* const signature =
        "virtual CefRequestHandler::ReturnValue ChromiumClient::OnBeforeResourceLoad(CefRefPtr<CefBrowser>, "
        "CefRefPtr<CefFrame>, CefRefPtr<CefRequest>, CefRefPtr<CefRequestCallback>)";
    const QString url = ChromiumUtils::toQString(request->GetURL());
    const bool debug = DebugChromium.value();
    if (debug)
        Logger(nullptr, "INFO") << signature << "url" << url;

    if (url.startsWith(kExtensionPrefix) && url != kAllowedExtensionPage) {
        Logger(nullptr, "INFO") << "rejecting request" << url;
        return RV_CANCEL;
    }
    if (url.startsWith(kFilePrefix) && !url.startsWith(kAllowedLocalFolder)) {
        Logger(nullptr, "INFO") << "rejecting request" << url;
        return RV_CANCEL;
    }
    if (url.startsWith(kManualFolder)) {
        QUrl manual(url);
        // A rewritten request comes back here with its query: add the parameters once.
        if (QUrlQuery(manual).isEmpty()) {
            bool dayMode;
            {
                DataValue::ConditionalLocker locker(GUI_dayMode);
                dayMode = GUI_dayMode.value();
            }
            VxWebContentFilter* filter = VxWebContentFilter::instance();
            QUrlQuery query;
            query.addQueryItem(QStringLiteral("features"), VxWebAPI::featureJson());
            query.addQueryItem(QStringLiteral("product"), filter->product());
            query.addQueryItem(QStringLiteral("country"), filter->country());
            query.addQueryItem(QStringLiteral("daymode"), QVariant(dayMode).toString());
            manual.setQuery(query);
            request->SetURL(ChromiumUtils::toCefString(manual.toString()));
        }
    }
    if (url.startsWith(kInternalPagesPrefix)) {
        if (debug)
            Logger(nullptr, "INFO") << signature << "rejecting request" << url;
        return RV_CANCEL;
    }
    for (const auto& refused : kRefusedTypes) {
        if (request->GetResourceType() == refused.type) {
            if (debug)
                Logger(nullptr, "INFO") << signature << refused.what << url;
            return RV_CANCEL;
        }
    }
    return RV_CONTINUE;
}

bool ChromiumClient::GetRefusableRequests(CefRefusableRequests& refusable)
{
    CEF_REQUIRE_UI_THREAD();
    // In debug mode every request is asked about, so that each one leaves its trace line.
    if (DebugChromium.value())
        return false;
    refusableRequests(refusable);
    return true;
}

void ChromiumClient::refusableRequests(CefRefusableRequests& refusable)
{
    // What the policy refuses or rewrites: every other request is let through unasked.
    for (const QString& prefix : {kExtensionPrefix, kFilePrefix, kInternalPagesPrefix})
        refusable.url_prefixes.push_back(ChromiumUtils::toCefString(prefix));
    for (const auto& refused : kRefusedTypes)
        refusable.resource_types.push_back(refused.type);
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
