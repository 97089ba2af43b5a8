#include "gui/cef/ResourcePolicy.h"

#include "core/DataValues.h"
#include "core/Logger.h"
#include "diag/DiagConfig.h"
#include "gui/cef/ChromiumUtils.h"
#include "services/VxWebAPI.h"
#include "services/VxWebContentFilter.h"

#include "include/cef_request.h"

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

cef_return_value_t ResourcePolicy::decide(CefRefPtr<CefRequest> request)
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

void ResourcePolicy::refusableRequests(CefRefusableRequests& refusable)
{
    // What the policy refuses or rewrites: every other request is let through unasked.
    for (const QString& prefix : {kExtensionPrefix, kFilePrefix, kInternalPagesPrefix})
        refusable.url_prefixes.push_back(ChromiumUtils::toCefString(prefix));
    for (const auto& refused : kRefusedTypes)
        refusable.resource_types.push_back(refused.type);
}
