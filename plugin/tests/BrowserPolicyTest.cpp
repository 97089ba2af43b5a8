#include "fake_browser.h"

#include "core/ConfigValue.h"
#include "core/DataValues.h"
#include "core/Logger.h"
#include "gui/cef/ChromiumClient.h"
#include "gui/cef/ResourcePolicy.h"
#include "services/VxWebAPI.h"

#include "../../framework/tests/support/TestSupport.h"

#include <QTemporaryDir>
#include <QUrlQuery>
#include <algorithm>
#include <vector>
#include <gtest/gtest.h>

using testing_support::FakeRequest;

namespace {

struct PolicyCase {
    const char* url; // as Chromium hands it over: canonical
    cef_resource_type_t type;
    cef_return_value_t expected;
    bool loggedAlways; // "rejecting request" whatever chromium/debug says
};

const char* const kViewer = "chrome-extension://mhjfbmdgcfjbbpaeojofohoefgiehjai/index.html";

const PolicyCase kCases[] = {
    {"file:///usr/vexor/UI/assets/web_content/index.html", RT_MAIN_FRAME, RV_CONTINUE, false},
    {"file:///usr/vexor/UI/assets/web_content/css/a.css", RT_STYLESHEET, RV_CONTINUE, false},
    {"file:///etc/passwd", RT_MAIN_FRAME, RV_CANCEL, true},
    {"file:///etc/passwd", RT_SUB_FRAME, RV_CANCEL, true},
    {"file:///etc/passwd", RT_XHR, RV_CANCEL, true},
    // Chromium resolves dots, percent-encoded dots and folds the scheme before asking.
    {"file:///usr/vexor/UI/assets/", RT_MAIN_FRAME, RV_CANCEL, true},
    {"file:///usr/vexor/UI/assets/web_content", RT_MAIN_FRAME, RV_CANCEL, true},
    {"file:///usr/vexor/UI/assets//web_content/x.html", RT_IMAGE, RV_CANCEL, true},
    {"file:///usr/vexor/UI/assets/web_content_other/x.html", RT_SCRIPT, RV_CANCEL, true},
    {"file://host/usr/vexor/UI/assets/web_content/x.html", RT_MAIN_FRAME, RV_CANCEL, true},
    {kViewer, RT_MAIN_FRAME, RV_CONTINUE, false},
    {"chrome-extension://mhjfbmdgcfjbbpaeojofohoefgiehjai/index.html?file=x", RT_MAIN_FRAME, RV_CANCEL, true},
    {"chrome-extension://mhjfbmdgcfjbbpaeojofohoefgiehjai/index.html#page=2", RT_MAIN_FRAME, RV_CANCEL, true},
    {"chrome-extension://mhjfbmdgcfjbbpaeojofohoefgiehjai/main.js", RT_SCRIPT, RV_CANCEL, true},
    {"chrome-extension://aaaabbbbccccddddeeeeffffgggghhhh/index.html", RT_MAIN_FRAME, RV_CANCEL, true},
    {"chrome://settings/", RT_MAIN_FRAME, RV_CANCEL, false},
    {"chrome://gpu/", RT_SUB_FRAME, RV_CANCEL, false},
    {"https://example.com/", RT_MAIN_FRAME, RV_CONTINUE, false},
    {"https://example.com/clip.mp4", RT_MEDIA, RV_CANCEL, false},
    {"file:///usr/vexor/UI/assets/web_content/clip.mp4", RT_MEDIA, RV_CANCEL, false},
    {"https://example.com/app.swf", RT_OBJECT, RV_CANCEL, false},
    {"https://example.com/plugin", RT_PLUGIN_RESOURCE, RV_CANCEL, false},
    {"https://example.com/a.png", RT_IMAGE, RV_CONTINUE, false},
    {"http://example.com/api", RT_XHR, RV_CONTINUE, false},
    {"about:blank", RT_MAIN_FRAME, RV_CONTINUE, false},
};

} // namespace

TEST(ResourcePolicy, ConfinesFilesAndInternalPagesForNavigationsAndSubresourcesAlike)
{
    QTemporaryDir config;
    ConfigStore::setPath(config.filePath("car.ini"));
    for (const bool debug : {false, true}) {
        ConfigStore::write("chromium/debug", debug);
        for (const PolicyCase& c : kCases) {
            CapturingLogSink log;
            CefRefPtr<FakeRequest> request = new FakeRequest(c.url, c.type);
            EXPECT_EQ(ResourcePolicy::decide(request.get()), c.expected) << c.url << " type " << c.type;
            EXPECT_EQ(request->url, c.url) << "only the manual is rewritten";
            const bool logged = log.contains("INFO", QStringLiteral("rejecting request ") + c.url);
            EXPECT_EQ(logged, c.loggedAlways) << c.url << " debug " << debug;
            if (!debug) {
                EXPECT_EQ(log.records().size(), logged ? 1 : 0) << c.url;
            }
        }
    }
}

TEST(ResourcePolicy, TheManualGetsTheCarsParametersOnce)
{
    QTemporaryDir config;
    ConfigStore::setPath(config.filePath("car.ini"));
    GUI_dayMode.setValue(false);
    GUI_locale.setValue("de_DE");
    VAPI_carType.setValue(3);

    const QString start = QStringLiteral("file:///usr/vexor/UI/assets/web_content/manual/index.html");
    CefRefPtr<FakeRequest> request = new FakeRequest(start.toStdString(), RT_MAIN_FRAME);
    EXPECT_EQ(ResourcePolicy::decide(request.get()), RV_CONTINUE);
    const QUrl rewritten(QString::fromStdString(request->url));
    EXPECT_EQ(rewritten.adjusted(QUrl::RemoveQuery).toString(), start);
    const QList<QPair<QString, QString>> items = QUrlQuery(rewritten).queryItems(QUrl::FullyDecoded);
    ASSERT_EQ(items.size(), 4) << request->url;
    EXPECT_EQ(items[0], qMakePair(QStringLiteral("features"), VxWebAPI::featureJson()));
    EXPECT_EQ(items[1], qMakePair(QStringLiteral("product"), QStringLiteral("model3")));
    EXPECT_EQ(items[2], qMakePair(QStringLiteral("country"), QStringLiteral("DE")));
    EXPECT_EQ(items[3], qMakePair(QStringLiteral("daymode"), QStringLiteral("false")));

    // The rewritten request comes back: left as it is.
    const std::string again = request->url;
    EXPECT_EQ(ResourcePolicy::decide(request.get()), RV_CONTINUE);
    EXPECT_EQ(request->url, again);

    CefRefPtr<FakeRequest> withQuery = new FakeRequest(start.toStdString() + "?lang=de", RT_MAIN_FRAME);
    EXPECT_EQ(ResourcePolicy::decide(withQuery.get()), RV_CONTINUE);
    EXPECT_EQ(withQuery->url, start.toStdString() + "?lang=de");

    // Media of the manual is still refused, after the rewrite.
    CefRefPtr<FakeRequest> video = new FakeRequest("file:///usr/vexor/UI/assets/web_content/manual/v.mp4", RT_MEDIA);
    EXPECT_EQ(ResourcePolicy::decide(video.get()), RV_CANCEL);
}

TEST(ResourcePolicy, EveryRequestItRefusesOrRewritesIsOneItNamesRefusable)
{
    QTemporaryDir config;
    ConfigStore::setPath(config.filePath("car.ini"));
    CefRefusableRequests refusable;
    ResourcePolicy::refusableRequests(refusable);
    // As the engine matches them: by the start of the address or by the resource type.
    const auto named = [&](const QString& url, cef_resource_type_t type) {
        for (const CefString& prefix : refusable.url_prefixes)
            if (url.startsWith(QString::fromStdString(prefix.ToString())))
                return true;
        return std::find(refusable.resource_types.begin(), refusable.resource_types.end(), type)
               != refusable.resource_types.end();
    };
    std::vector<PolicyCase> cases(std::begin(kCases), std::end(kCases));
    cases.push_back({"file:///usr/vexor/UI/assets/web_content/manual/index.html", RT_MAIN_FRAME, RV_CONTINUE, false});
    for (const PolicyCase& c : cases) {
        CefRefPtr<FakeRequest> request = new FakeRequest(c.url, c.type);
        const bool refused = ResourcePolicy::decide(request.get()) == RV_CANCEL;
        const bool rewritten = request->url != c.url;
        if (refused || rewritten) {
            EXPECT_TRUE(named(c.url, c.type)) << c.url << " type " << c.type;
        }
    }
    // Web content the car may show goes on without waiting for the policy.
    EXPECT_FALSE(named("https://example.com/", RT_MAIN_FRAME));
    EXPECT_FALSE(named("https://example.com/a.png", RT_IMAGE));
    EXPECT_FALSE(named("http://example.com/api", RT_XHR));
}
