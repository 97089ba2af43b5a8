// Script dialogs, the geolocation question, the context menu and page queries. One popup at a
// time: the web view shows it and answers through javaScriptPopupResult.
#include "gui/cef/ChromiumClient.h"

#include "core/DataValues.h"
#include "core/Logger.h"
#include "diag/DiagConfig.h"
#include "gui/cef/ChromiumMessageHandler.h"
#include "gui/cef/ChromiumUtils.h"
#include "gui/cef/WebKitView.h"

#include "include/cef_browser.h"
#include "include/cef_frame.h"
#include "include/cef_menu_model.h"
#include "include/cef_process_message.h"
#include "include/cef_values.h"
#include "include/wrapper/cef_helpers.h"

namespace {

double readLocation(const RealDataValue& value)
{
    DataValue::ConditionalLocker locker(value);
    return value.value();
}

} // namespace

bool ChromiumClient::OnJSDialog(CefRefPtr<CefBrowser> browser, const CefString& originUrl, JSDialogType dialogType,
                                const CefString& messageText, const CefString& defaultPromptText,
                                CefRefPtr<CefJSDialogCallback> callback, bool& suppressMessage)
{
    CEF_REQUIRE_UI_THREAD();
    (void)browser, (void)originUrl, (void)suppressMessage;
    const QString message = ChromiumUtils::toQString(messageText);
    const QString defaultText = ChromiumUtils::toQString(defaultPromptText);
    const char* typeName = dialogType == JSDIALOGTYPE_ALERT     ? "alert"
                           : dialogType == JSDIALOGTYPE_CONFIRM ? "confirm"
                                                                : "prompt";
    if (DebugChromium.value())
        Logger(this, "INFO") << "virtual bool ChromiumClient::OnJSDialog(...)"
                             << "message:" << message << "prompt:" << defaultText << "dialog" << typeName;
    if (mDialogCallback) {
        Logger(this, "WARN") << "javascript dialog already active, ignoring new request";
        return false;
    }
    if (mWebView)
        emit mWebView->presentJavaScriptPopup(message, WebKitView::DialogType(dialogType), defaultText);
    mDialogCallback = callback;
    return true;
}

bool ChromiumClient::OnBeforeUnloadDialog(CefRefPtr<CefBrowser> browser, const CefString& messageText, bool isReload,
                                          CefRefPtr<CefJSDialogCallback> callback)
{
    CEF_REQUIRE_UI_THREAD();
    (void)isReload;
    if (DebugChromium.value())
        Logger(this, "INFO") << "virtual bool ChromiumClient::OnBeforeUnloadDialog(CefRefPtr<CefBrowser>, "
                                "const CefString&, bool, CefRefPtr<CefJSDialogCallback>)";
    // Leaving the page is asked like any confirm.
    bool suppress = false;
    return OnJSDialog(browser, CefString(), JSDIALOGTYPE_CONFIRM, messageText, CefString(), callback, suppress);
}

void ChromiumClient::javaScriptPopupResult(bool accepted, const QString& text)
{
    if (DebugChromium.value())
        Logger(this, "INFO") << "void ChromiumClient::javaScriptPopupResult(bool, const QString&)"
                             << "result:" << accepted << text;
    if (mDialogCallback) {
        mDialogCallback->Continue(accepted, ChromiumUtils::toCefString(text));
    } else if (mGeolocationCallback) {
        const QString label = QStringLiteral("user %1 geolocation permission")
                                  .arg(accepted ? QStringLiteral("granted") : QStringLiteral("denied"));
        Logger(this, "INFO") << ChromiumUtils::privacyLog(label, mGeolocationHost);
        if (accepted)
            mGeolocationHosts.append(mGeolocationHost);
        sendGeolocationStatus(mGeolocationCallback, accepted);
    }
    OnResetDialogState(nullptr);
}

void ChromiumClient::OnResetDialogState(CefRefPtr<CefBrowser> browser)
{
    (void)browser;
    if (DebugChromium.value())
        Logger(this, "INFO") << "virtual void ChromiumClient::OnResetDialogState(CefRefPtr<CefBrowser>)";
    if (!mDialogCallback && !mGeolocationCallback)
        return;
    // Dropped unanswered: the engine has given the dialog up, the router ends the query.
    mDialogCallback = nullptr;
    mGeolocationCallback = nullptr;
    mGeolocationHost = QStringLiteral("");
    if (mWebView)
        emit mWebView->dismissJavaScriptPopup();
}

void ChromiumClient::OnDialogClosed(CefRefPtr<CefBrowser> browser)
{
    (void)browser;
    if (DebugChromium.value())
        Logger(this, "INFO") << "virtual void ChromiumClient::OnDialogClosed(CefRefPtr<CefBrowser>)";
}

void ChromiumClient::OnBeforeContextMenu(CefRefPtr<CefBrowser> browser, CefRefPtr<CefFrame> frame,
                                         CefRefPtr<CefContextMenuParams> params, CefRefPtr<CefMenuModel> model)
{
    (void)browser, (void)frame, (void)params;
    if (DebugChromium.value())
        Logger(this, "INFO") << "virtual void ChromiumClient::OnBeforeContextMenu(...)" << "blocking context menu";
    model->Clear();
}

bool ChromiumClient::RunContextMenu(CefRefPtr<CefBrowser> browser, CefRefPtr<CefFrame> frame,
                                    CefRefPtr<CefContextMenuParams> params, CefRefPtr<CefMenuModel> model,
                                    CefRefPtr<CefRunContextMenuCallback> callback)
{
    (void)browser, (void)frame, (void)params, (void)model;
    if (DebugChromium.value())
        Logger(this, "INFO") << "virtual bool ChromiumClient::RunContextMenu(...)";
    callback->Cancel();
    return true;
}

bool ChromiumClient::OnContextMenuCommand(CefRefPtr<CefBrowser> browser, CefRefPtr<CefFrame> frame,
                                          CefRefPtr<CefContextMenuParams> params, int commandId,
                                          EventFlags eventFlags)
{
    (void)browser, (void)frame, (void)params, (void)commandId, (void)eventFlags;
    if (DebugChromium.value())
        Logger(this, "INFO") << "virtual bool ChromiumClient::OnContextMenuCommand(...)";
    return true;
}

void ChromiumClient::geolocationRequest(const QUrl& url, CefRefPtr<CefMessageRouterBrowserSide::Callback> callback)
{
    Logger(this, "INFO") << ChromiumUtils::privacyLog(QStringLiteral("geolocation request"), url.toString());
    if (mGeolocationCallback) {
        Logger(this, "WARN") << "geolocation request already active, ignoring new request";
        return;
    }
    const QString host = url.host();
    if (mGeolocationHosts.contains(host)) {
        sendGeolocationStatus(callback, true);
        return;
    }
    mGeolocationCallback = callback;
    mGeolocationHost = host;
    const QString question = tr("The site \"%1\" would like to use your current location.").arg(host);
    if (mWebView)
        emit mWebView->presentJavaScriptPopup(question, WebKitView::GeolocationPermission, QString());
}

void ChromiumClient::sendGeolocationStatus(CefRefPtr<CefMessageRouterBrowserSide::Callback> callback, bool granted)
{
    if (!granted) {
        callback->Failure(0, "denied");
        return;
    }
    callback->Success(ChromiumUtils::toCefString(positionJson()));
}

QString ChromiumClient::positionJson()
{
    const double timestamp = readLocation(LOC_estimatedGeoTimestamp);
    const double accuracy = readLocation(LOC_geoAccuracy);
    const double longitude = readLocation(LOC_estimatedLon);
    const double latitude = readLocation(LOC_estimatedLat);
    return QStringLiteral("{ \"coords\": { \"latitude\": %1, \"longitude\": %2, \"accuracy\": %3 }, \"timestamp\": %4 }")
        .arg(latitude)
        .arg(longitude)
        .arg(accuracy)
        .arg(timestamp);
}

bool ChromiumClient::OnProcessMessageReceived(CefRefPtr<CefBrowser> browser, CefProcessId sourceProcess,
                                              CefRefPtr<CefProcessMessage> message)
{
    CEF_REQUIRE_UI_THREAD();
    const QString name = ChromiumUtils::toQString(message->GetName());
    const bool debug = DebugChromium.value();
    static const char* const signature =
        "virtual bool ChromiumClient::OnProcessMessageReceived(CefRefPtr<CefBrowser>, CefProcessId, "
        "CefRefPtr<CefProcessMessage>)";
    if (debug)
        Logger(this, "INFO") << signature << name;
    if (name == QLatin1String("renderer.focused_node_changed")) {
        const bool editable = message->GetArgumentList()->GetBool(0);
        if (debug)
            Logger(this, "INFO") << signature << "editor state changed" << editable;
        if (mWebView)
            mWebView->editorStateChanged(editable);
        return true;
    }
    return mMessageRouter && mMessageRouter->OnProcessMessageReceived(browser, sourceProcess, message);
}

bool ChromiumMessageHandler::OnQuery(CefRefPtr<CefBrowser> browser, CefRefPtr<CefFrame> frame, int64 queryId,
                                     const CefString& request, bool persistent, CefRefPtr<Callback> callback)
{
    (void)browser, (void)queryId, (void)persistent;
    if (request.ToString() != "vexor.geolocation_request")
        return false;
    mClient->geolocationRequest(ChromiumUtils::toQUrl(frame->GetURL()), callback);
    return true;
}
