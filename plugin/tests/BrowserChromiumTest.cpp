// The plug-in's browser against real Chromium: one engine for the program, one web view per case.
#include "BrowserTestSupport.h"

#include "core/ConfigValue.h"
#include "core/DataValues.h"
#include "core/Logger.h"
#include "gui/cef/ChromiumClient.h"
#include "gui/cef/ChromiumManager.h"
#include "gui/cef/WebKitView.h"
#include "views/CenterDisplay.h"
#include "Screen.h"
#include "test_support.h"

#include <QPointer>
#include <csignal>
#include <QSignalSpy>
#include <gtest/gtest.h>

namespace {

struct Runtime {
    ControlGroupCommands commands;
    PrivateChromiumProfile profile{QStringLiteral(VEXOR_LAUNCHER_DIR)};
    ChromiumManager manager;
    testing_support::HttpServer server;
};
Runtime* gRuntime = nullptr;

class ChromiumBrowser : public ::testing::Test, protected Screen<> {
protected:
    ChromiumBrowser()
        : Screen(QSize(1280, 720))
    {
    }
    static void SetUpTestSuite()
    {
        gRuntime = new Runtime;
        ConfigStore::setPath(gRuntime->profile.folder() + "/car.ini");
        theCenterDisplay->setChromiumManager(&gRuntime->manager);
        GUI_allReady.setValue(true);
    }

    void SetUp() override
    {
        mView = new WebKitView(&root);
        mView->setGeometry(QRect(0, 0, 600, 400));
        ASSERT_TRUE(pumpUntil([&] { return mView->browserExists(); })) << "no browser from Chromium";
    }
    void TearDown() override
    {
        QPointer<ChromiumClient> client = mView->client();
        delete mView;
        EXPECT_TRUE(pumpUntil([&] { return client.isNull(); })) << "the client outlived its browser";
    }

    bool load(const QString& url)
    {
        QSignalSpy finished(mView, &WebKitView::pageLoadDidFinish);
        mView->loadURL(QUrl(url));
        return pumpUntil([&] { return !finished.isEmpty(); });
    }
    bool titleBecomes(const QString& title)
    {
        return pumpUntil([&] { return mView->title() == title; }, 10000);
    }

    WebKitView* mView = nullptr;
    CapturingLogSink mLog;
};

QString url(const char* path)
{
    return QString::fromStdString(gRuntime->server.Url(path));
}

} // namespace

TEST_F(ChromiumBrowser, FilesOutsideTheFolderAreRefusedInChromiumsCanonicalForm)
{
    const struct {
        const char* asked;
        const char* seen;
    } cases[] = {
        {"file:///etc/passwd", "file:///etc/passwd"},
        {"FILE:///etc/passwd", "file:///etc/passwd"},
        {"file:///usr/vexor/UI/assets/web_content/../../../../../etc/passwd", "file:///etc/passwd"},
        {"file:///usr/vexor/UI/assets/web_content/../../../../etc//passwd", "file:///usr/etc//passwd"},
        {"file:///usr/vexor/UI/assets/web_content/%2e%2e/secret.html", "file:///usr/vexor/UI/assets/secret.html"},
        {"file:///usr/vexor/UI/assets/web_content/..", "file:///usr/vexor/UI/assets/"},
    };
    for (const auto& c : cases) {
        mLog.clear();
        QSignalSpy failed(mView, &WebKitView::pageLoadDidFail);
        mView->loadURL(QUrl(QString::fromLatin1(c.asked)));
        const QString line = QStringLiteral("rejecting request ") + c.seen;
        EXPECT_TRUE(pumpUntil([&] { return mLog.contains("INFO", line); }, 10000))
            << c.asked << "\n" << mLog.lines().filter("rejecting").join("\n").toStdString();
        EXPECT_TRUE(pumpUntil([&] { return !failed.isEmpty(); }, 10000)) << c.asked;
    }
}

TEST_F(ChromiumBrowser, MediaIsRefusedAndInDebugModeEveryRequestLeavesItsTrace)
{
    gRuntime->server.Serve("/media.html", "<title>media</title><img src='/still.png'>"
                                          "<video src='/clip.webm' preload=auto onerror=\"document.title='refused'\"></video>");
    gRuntime->server.Serve("/still.png", "GIF89a", 200, "image/gif");
    gRuntime->server.Serve("/clip.webm", std::string(4096, 'x'), 200, "video/webm");
    const QString signature = QStringLiteral(
        "virtual CefRequestHandler::ReturnValue ChromiumClient::OnBeforeResourceLoad(CefRefPtr<CefBrowser>, "
        "CefRefPtr<CefFrame>, CefRefPtr<CefRequest>, CefRefPtr<CefRequestCallback>)");
    for (const bool debug : {false, true}) {
        SCOPED_TRACE(debug ? "debug" : "quiet");
        // The engine learns what the policy may refuse as the browser is made.
        ConfigStore::write("chromium/debug", debug);
        auto* view = new WebKitView(&root);
        view->setGeometry(QRect(0, 0, 600, 400));
        ASSERT_TRUE(pumpUntil([&] { return view->browserExists(); }));
        mLog.clear();
        const int images = gRuntime->server.CountRequests("/still.png");
        view->loadURL(QUrl(url("/media.html")));
        EXPECT_TRUE(pumpUntil([&] { return view->title() == "refused"; }, 10000)) << view->title().toStdString();
        EXPECT_EQ(gRuntime->server.CountRequests("/clip.webm"), 0);
        EXPECT_EQ(gRuntime->server.CountRequests("/still.png"), images + 1);
        const QStringList traced = mLog.lines().filter(signature);
        if (!debug) {
            EXPECT_TRUE(traced.isEmpty()) << traced.join("\n").toStdString();
        } else {
            for (const char* path : {"/media.html", "/still.png", "/clip.webm"})
                EXPECT_TRUE(mLog.contains("INFO", signature + " url " + url(path))) << path;
            EXPECT_TRUE(mLog.contains("INFO", signature + " media request " + url("/clip.webm")))
                << traced.join("\n").toStdString();
        }
        QPointer<ChromiumClient> client = view->client();
        delete view;
        EXPECT_TRUE(pumpUntil([&] { return client.isNull(); }));
    }
    ConfigStore::write("chromium/debug", false);
}

TEST_F(ChromiumBrowser, APageAsksForThePositionThroughItsQuery)
{
    LOC_estimatedLat.setValue(37.774929);
    gRuntime->server.Serve("/where.html", "<title>ready</title>");
    ASSERT_TRUE(load(url("/where.html")));
    QSignalSpy shown(mView, &WebKitView::presentJavaScriptPopup);
    mView->evaluateJavaScriptInMainFrame(
        "vexorQuery({request: 'vexor.geolocation_request', onSuccess: function(r) {"
        " document.title = 'at ' + JSON.parse(r).coords.latitude; }, onFailure: function(c, m) {"
        " document.title = 'refused ' + c + ' ' + m; }})");
    ASSERT_TRUE(pumpUntil([&] { return !shown.isEmpty(); }, 10000));
    EXPECT_EQ(shown.at(0).at(1).value<WebKitView::DialogType>(), WebKitView::GeolocationPermission);
    mView->javaScriptPopupResult(true, QString());
    EXPECT_TRUE(titleBecomes("at 37.7749")) << mView->title().toStdString();
}

TEST_F(ChromiumBrowser, AKilledOrCrashedRendererReloadsThePageAndAFinishedLoadEndsTheSeries)
{
    ConfigStore::write("chromium/debug", true);
    gRuntime->server.Serve("/victim.html", "<title>victim</title>");
    ASSERT_TRUE(load(url("/victim.html")));
    const struct {
        int signal;
        const char* word;
    } deaths[] = {{SIGKILL, "process killed"}, {SIGSEGV, "segfault"}};
    for (const auto& death : deaths) {
        mLog.clear();
        QSignalSpy finished(mView, &WebKitView::pageLoadDidFinish);
        const int chromium = testing_support::ChromiumPidOf(mView->client()->windowHandle());
        ASSERT_GT(chromium, 0);
        for (int pid : testing_support::RendererPids(chromium))
            kill(pid, death.signal);
        EXPECT_TRUE(pumpUntil([&] { return mLog.contains("WARN", "render process crashed 1 times, reload"); }, 10000))
            << death.word << "\n" << mLog.lines().filter("WARN").join("\n").toStdString();
        EXPECT_EQ(mLog.lines().filter(QStringLiteral("TerminationStatus) ") + death.word).size(), 1) << death.word;
        EXPECT_TRUE(pumpUntil([&] { return !finished.isEmpty(); }, 10000)) << "reloaded after " << death.word;
        EXPECT_EQ(mView->url(), QUrl(url("/victim.html")));
    }
}

TEST_F(ChromiumBrowser, APageWhoseRendererDiesBeforeEveryLoadEndIsGivenUpForABlankPage)
{
    ConfigStore::write("chromium/render_process_max retry", 2);
    // The image holds the load open, so each death comes before the page has finished.
    gRuntime->server.Serve("/doomed.html", "<title>doomed</title><img src='/doomed.png'>");
    gRuntime->server.Serve("/doomed.png", "", 200, "image/png", 4000);
    mLog.clear();
    mView->loadURL(QUrl(url("/doomed.html")));
    const char* const outcomes[] = {"WARN render process crashed 1 times, reload", "WARN gave up after 2 attempts, url "};
    for (int attempt = 1; attempt <= 2; ++attempt) {
        ASSERT_TRUE(pumpUntil([&] { return gRuntime->server.CountRequests("/doomed.png") >= attempt; }, 10000))
            << "attempt " << attempt << " never asked for its image";
        const int chromium = testing_support::ChromiumPidOf(mView->client()->windowHandle());
        for (int pid : testing_support::RendererPids(chromium))
            kill(pid, SIGKILL);
        EXPECT_TRUE(pumpUntil([&] { return !mLog.lines().filter(outcomes[attempt - 1]).isEmpty(); }, 10000))
            << mLog.lines().filter("WARN").join("\n").toStdString();
    }
    EXPECT_TRUE(pumpUntil([&] { return mView->url() == QUrl("about:blank"); }, 10000)) << mView->url().toString().toStdString();
    EXPECT_EQ(mLog.lines().filter("render process crashed").size(), 1);
    ConfigStore::write("chromium/render_process_max retry", 5);
}

TEST_F(ChromiumBrowser, AViewDeletedWithALoadAQueryAndADialogPendingLeavesNothingBehind)
{
    gRuntime->server.Serve("/busy.html", "<title>busy</title>");
    gRuntime->server.Serve("/slow.html", "<title>slow</title>", 200, "text/html; charset=utf-8", 3000);
    ASSERT_TRUE(load(url("/busy.html")));
    QSignalSpy shown(mView, &WebKitView::presentJavaScriptPopup);
    mView->evaluateJavaScriptInMainFrame("vexorQuery({request: 'vexor.geolocation_request'});"
                                         "setTimeout(function() { prompt('Still there?'); }, 50);");
    ASSERT_TRUE(pumpUntil([&] { return shown.size() == 2; }, 10000));
    mView->loadURL(QUrl(url("/slow.html")));
    // TearDown deletes the view now and waits for the client to go.
}

TEST_F(ChromiumBrowser, ViewsClosedWhileTheirPagesLoadLoseTheirClientsOnTheUiThread)
{
    gRuntime->server.Serve("/slow.png", "", 200, "image/png", 300);
    QString page = "<title>busy</title>";
    for (int i = 0; i < 20; ++i)
        page += QStringLiteral("<img src='/slow.png?%1'>").arg(i);
    gRuntime->server.Serve("/images.html", page.toStdString());
    for (int round = 0; round < testing_support::StressRounds(); ++round) {
        SCOPED_TRACE("round " + std::to_string(round));
        auto* view = new WebKitView(&root);
        view->setGeometry(QRect(0, 0, 600, 400));
        ASSERT_TRUE(pumpUntil([&] { return view->browserExists(); }));
        QPointer<ChromiumClient> client = view->client();
        QThread* diedOn = nullptr;
        QObject::connect(client, &QObject::destroyed, client, [&] { diedOn = QThread::currentThread(); },
                         Qt::DirectConnection);
        const int asked = gRuntime->server.CountRequests("/slow.png");
        view->loadURL(QUrl(url("/images.html")));
        // Closed while the policy is at work on the engine's I/O thread for the images.
        ASSERT_TRUE(pumpUntil([&] { return gRuntime->server.CountRequests("/slow.png") > asked; }, 10000));
        delete view;
        ASSERT_TRUE(pumpUntil([&] { return client.isNull(); })) << "the client outlived its browser";
        EXPECT_EQ(diedOn, QThread::currentThread()) << "the client died off the UI thread";
    }
}
