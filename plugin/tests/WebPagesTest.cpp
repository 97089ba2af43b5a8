// The DATA and DRAVIK pages and the web view under them: real pages from files in a scratch
// folder, loaded by the toolkit's engine and touched through a display.
#include "core/ConfigValue.h"
#include "diag/DiagVitalsPage.h"
#include "diag/DravikWebPage.h"
#include "services/StorageUtils.h"
#include "views/KineticScroller.h"
#include "views/WebView.h"
#include "PageFixture.h"

#include <QFile>
#include <QJsonObject>
#include <QPainter>
#include <QSignalSpy>
#include <QTcpServer>
#include <QTemporaryDir>
#include <QWebFrame>
#include <QWebPage>
#include <gtest/gtest.h>

#include <dlfcn.h>

namespace {

class WebPagesTest : public PageFixture {
protected:
    WebPagesTest()
    {
        ConfigStore::setPath(dir.filePath("orvane.ini"));
        StorageUtils::setAssetsFolder(dir.path());
        write("web_content/vitals/vitals.html", "<html><head><title>VITALS</title></head><body>vitals</body></html>");
    }

    QString write(const QString& name, const QByteArray& content)
    {
        const QString path = dir.filePath(name);
        QDir().mkpath(QFileInfo(path).path());
        QFile f(path);
        f.open(QIODevice::WriteOnly);
        f.write(content);
        return path;
    }

    template <typename Page>
    Page* make()
    {
        return place(new Page(&root));
    }

    // A web view at 100,100 (800x600) showing the page, painted once; null if it did not load.
    WebView* showPage(const QString& name, const QByteArray& html)
    {
        auto* view = new WebView(&root);
        pages.emplace_back(view);
        view->setGeometry(QRect(100, 100, 800, 600));
        view->currentFrame()->load(QUrl::fromLocalFile(write(name, html)));
        if (!loaded(view))
            return nullptr;
        display.render();
        return view;
    }

    // Runs the loop until the view's frame finished loading.
    static bool loaded(WebView* view)
    {
        QSignalSpy finished(view, &WebView::loadFinished);
        return finished.count() > 0 || finished.wait(5000);
    }

    // The empty address finishes without a load signal: wait for the old page to be gone.
    static bool unloaded(WebView* view)
    {
        return waitFor([view] {
            return view->currentFrame()->requestedUrl().isEmpty() && view->currentFrame()->title().isEmpty()
                && body(view).isEmpty();
        });
    }

    static QString body(WebView* view)
    {
        return view->currentFrame()->evaluateJavaScript("document.body ? document.body.textContent : ''").toString();
    }

    QTemporaryDir dir;
};

} // namespace

// In a process of its own, so that no earlier test has loaded the engine.
TEST_F(WebPagesTest, TheWebEngineLoadsOnlyForAPageAskedForAndNotWhileTheHostHoldsItBack)
{
    const auto engineLoaded = [] {
        void* library = dlopen(ORVANE_WEB_ENGINE_LIBRARY, RTLD_LAZY | RTLD_NOLOAD);
        if (library)
            dlclose(library);
        return library != nullptr;
    };
    const auto check = [&]() -> std::string {
        auto* vitals = make<DiagVitalsPage>();
        make<DravikWebPage>();
        display.render();
        if (engineLoaded())
            return "pages never shown loaded the engine";

        WebView::holdEngines(true);
        vitals->pageShown();
        auto* gone = new WebView(vitals);
        gone->load(vitals->vitalsUrl());
        QJsonObject dump;
        vitals->webView()->dumpProperties(dump);
        if (engineLoaded() || !vitals->webView()->isBusy() || dump["url"].toString() != vitals->vitalsUrl().toString())
            return "a page asked for while held must wait, busy, with its address in the dump";
        delete gone;

        WebView::holdEngines(false);
        if (!engineLoaded() || !loaded(vitals->webView()) || vitals->webView()->currentFrame()->title() != "VITALS")
            return "released, the waiting page must load";
        return {};
    };
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            const std::string failure = check();
            std::fprintf(stderr, "%s\n", failure.c_str());
            std::_Exit(failure.empty() ? 0 : 1);
        },
        ::testing::ExitedWithCode(0), "");
}

TEST_F(WebPagesTest, APageGoneWhileItsViewWaitsForAnAnswerLeavesNothingBehind)
{
    // A server that takes the request and never answers keeps it in flight.
    QTcpServer silent;
    ASSERT_TRUE(silent.listen(QHostAddress::LocalHost));
    auto* page = make<DiagVitalsPage>();
    WebView* view = page->webView();
    view->currentFrame()->load(QUrl(QStringLiteral("http://127.0.0.1:%1/").arg(silent.serverPort())));
    ASSERT_TRUE(waitFor([&] { return silent.hasPendingConnections(); }, 5000));
    EXPECT_TRUE(view->isBusy());

    // The request ends as the page goes: its ending must not reach a view already torn down
    // (the sanitizer run sees that; here it must at least not crash).
    pages.clear();
    drainEvents();
}

TEST_F(WebPagesTest, VitalsReloadWhenShownAgainOrWhenTheWallClockWentBack)
{
    QDateTime now = QDateTime(QDate(2026, 3, 1), QTime(12, 0));
    auto* page = make<DiagVitalsPage>();
    page->setClock([&now] { return now; });
    page->pageShown();
    ASSERT_TRUE(loaded(page->webView()));
    QSignalSpy starts(page->webView()->currentFrame(), &QWebFrame::loadStarted);
    // The wall clock moves by that much, and the second's tick comes.
    const auto tickAfter = [&](int seconds) {
        now = now.addSecs(seconds);
        emit SecondTicker::instance()->tick();
    };

    tickAfter(1);
    tickAfter(3600);
    drainEvents();
    EXPECT_EQ(starts.count(), 0) << "a clock moving forward never reloads";

    tickAfter(-3600);
    EXPECT_TRUE(loaded(page->webView()));
    EXPECT_EQ(starts.count(), 1);
    EXPECT_EQ(page->webView()->currentFrame()->requestedUrl(), page->vitalsUrl());

    // The next tick measures from the time set back, not from before it.
    tickAfter(1);
    drainEvents();
    EXPECT_EQ(starts.count(), 1);

    // Shown again, the dashboard loads afresh (the clock has not gone back since).
    page->pageHidden();
    EXPECT_TRUE(unloaded(page->webView()));
    page->pageShown();
    ASSERT_TRUE(loaded(page->webView()));
    EXPECT_EQ(page->webView()->currentFrame()->title(), "VITALS");

    // Hidden pages do not tick.
    page->pageHidden();
    EXPECT_TRUE(unloaded(page->webView()));
    starts.clear();
    tickAfter(-7200);
    drainEvents();
    EXPECT_EQ(starts.count(), 0);
}

TEST_F(WebPagesTest, DravikReadsItsAddressOnEveryShowingUpToTheFirstNul)
{
    const QString first = write("dravik1.html", "<html><head><title>ONE</title></head></html>");
    const QString second = write("dravik2.html", "<html><head><title>TWO</title></head></html>");
    ConfigStore::write("diag/dravik_url", QUrl::fromLocalFile(first).toString());

    auto* page = make<DravikWebPage>();
    emit page->shown(); // before its content exists: nothing to load into
    emit page->hidden();
    EXPECT_EQ(page->webView(), nullptr);

    page->pageShown();
    WebView* view = page->webView();
    ASSERT_TRUE(view);
    ASSERT_TRUE(loaded(view));
    EXPECT_EQ(view->currentFrame()->title(), "ONE");

    page->pageHidden();
    EXPECT_TRUE(unloaded(view));

    ConfigStore::write("diag/dravik_url", QUrl::fromLocalFile(second).toString() + QChar(0) + "trailing junk");
    page->pageShown();
    ASSERT_TRUE(loaded(view));
    EXPECT_EQ(view->currentFrame()->requestedUrl(), QUrl::fromLocalFile(second));
    EXPECT_EQ(view->currentFrame()->title(), "TWO");

    page->pageHidden();
    ConfigStore::write("diag/dravik_url", "");
    page->pageShown();
    EXPECT_TRUE(unloaded(view));
}

TEST_F(WebPagesTest, WebViewTurnsTapsIntoClicksAndDragsIntoScrolling)
{
    WebView* view = showPage("tall.html", "<html><body style='margin:0'>"
                                          "<button id='b' style='width:300px;height:100px' onclick='document.title=\"CLICKED\"'>B</button>"
                                          "<div style='height:5000px'></div></body></html>");
    ASSERT_TRUE(view);

    display.tap(QPoint(250, 150));
    drainEvents();
    EXPECT_EQ(view->currentFrame()->title(), "CLICKED");

    view->currentFrame()->evaluateJavaScript("document.title = ''");
    press(QPoint(400, 600));
    for (int y = 580; y >= 200; y -= 20)
        move(QPoint(400, y));
    release(QPoint(400, 200));
    view->scroller()->stop();
    drainEvents();
    EXPECT_GE(view->currentFrame()->scrollPosition().y(), 380);
    EXPECT_EQ(view->currentFrame()->title(), "") << "a drag is no click";

    // A page that cannot load leaves an empty view that still loads the next one.
    view->currentFrame()->load(QUrl::fromLocalFile(dir.filePath("missing.html")));
    loaded(view);
    EXPECT_EQ(view->currentFrame()->scrollPosition().y(), 0);
    display.render();
    view->currentFrame()->load(QUrl::fromLocalFile(dir.filePath("tall.html")));
    ASSERT_TRUE(loaded(view));
    EXPECT_EQ(body(view), "B");
}

TEST_F(WebPagesTest, AChangeOnAPageRepaintsOnlyItsOwnPartOfTheDisplay)
{
    WebView* view = showPage("clock.html", "<html><body style='margin:0;font:20px sans-serif'>"
                                           "<div id='clock' style='position:absolute;left:300px;top:200px;width:100px;height:30px'>12:00</div>"
                                           "<div style='height:500px'>a page of other things</div></body></html>");
    ASSERT_TRUE(view);
    drainEvents();

    QSignalSpy whole(&display, &DisplayDevice::frameRequested);
    QSignalSpy parts(&display, &DisplayDevice::areaRequested);
    view->currentFrame()->evaluateJavaScript("document.getElementById('clock').textContent = '12:01'");
    ASSERT_TRUE(waitFor([&] { return !parts.isEmpty(); }));
    drainEvents();
    EXPECT_TRUE(whole.isEmpty());
    const QRect clock(400, 300, 100, 30); // in the display
    QRect repainted;
    for (const QList<QVariant>& part : parts)
        repainted |= part[0].toRect();
    EXPECT_TRUE(repainted.contains(clock)) << repainted.x() << "," << repainted.y() << " " << repainted.width() << "x" << repainted.height();
    EXPECT_LT(repainted.width() * repainted.height(), view->width() * view->height() / 10);

    // The view paints the page into that part.
    QImage screen(display.size(), QImage::Format_RGB32);
    screen.fill(Qt::red);
    QPainter painter(&screen);
    display.paint(painter, repainted);
    painter.end();
    EXPECT_NE(screen.pixelColor(clock.center()), QColor(Qt::red));
}
