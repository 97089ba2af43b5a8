#include "BrowserClientFixture.h"
#include "X11TestWindow.h"

#include "views/popup/PopupView.h"

#include <QSignalSpy>

TEST_F(BrowserClientTest, OnlyTheLastUrlAskedBeforeTheBrowserExistsIsLoadedOnceItDoes)
{
    // No browser yet: nothing to resize or close, nothing to fail.
    client->resizeBrowser(10, 10);
    client->closeBrowser();
    mView->loadURL(QUrl("https://example.com/first"));
    mView->loadURL(QUrl("https://example.com/second"));
    adopt();
    EXPECT_EQ(loads(), QStringList{"https://example.com/second"});
    EXPECT_TRUE(mView->browserExists());
}

TEST_F(BrowserClientTest, ALaterBrowserIsLeftAlone)
{
    adopt();
    CefRefPtr<FakeBrowser> popup = new FakeBrowser(8, true);
    CefRefPtr<FakeBrowser> other = new FakeBrowser(9, false);
    client->OnAfterCreated(popup.get());
    client->OnAfterCreated(other.get());
    EXPECT_EQ(client->browser().get(), mBrowser.get());
    client->OnBeforeClose(other.get());
    EXPECT_EQ(client->browser().get(), mBrowser.get()) << "only the main browser's close clears it";
}

TEST_F(BrowserClientTest, OnlyACloseTheClientAskedForProceeds)
{
    adopt();
    EXPECT_TRUE(client->DoClose(mBrowser.get())) << "a page's window.close() is blocked";
    client->closeBrowser();
    EXPECT_EQ(mBrowser->host->closes, std::vector<bool>{true});
    EXPECT_FALSE(client->DoClose(mBrowser.get()));
    client->closeBrowser();
    EXPECT_EQ(mBrowser->host->closes.size(), 1u);

    QPointer<ChromiumClient> closing = client;
    client->OnBeforeClose(mBrowser.get());
    EXPECT_TRUE(closing.isNull()) << "nothing held the client but itself";
    EXPECT_FALSE(mView->browserExists());
}

TEST_F(BrowserClientTest, ADeletedViewClosesTheBrowserAndTheClientGoesWithIt)
{
    adopt();
    client->loadUrl(QUrl("https://example.com/"));
    QPointer<ChromiumClient> orphan = client;
    delete mView;
    mView = nullptr;
    ASSERT_FALSE(orphan.isNull()) << "waits for the engine to close the browser";
    EXPECT_EQ(mBrowser->host->closes, std::vector<bool>{true});
    orphan->OnLoadEnd(mBrowser.get(), mBrowser->GetMainFrame(), 200); // no view to tell: no crash
    orphan->OnBeforeClose(mBrowser.get());
    EXPECT_TRUE(orphan.isNull());
}

TEST_F(BrowserClientTest, TheBrowserWindowFollowsTheView)
{
    X11TestWindow window;
    if (!window.isValid())
        GTEST_SKIP() << "no X display";
    mBrowser->host->window = window.id();
    mView->setGeometry(QRect(30, 40, 640, 360));
    adopt();
    EXPECT_EQ(window.geometry(), QRect(30, 40, 640, 360));
    mView->resize(500, 300);
    EXPECT_EQ(window.geometry(), QRect(30, 40, 500, 300));
}

namespace {

struct CrashCase {
    const char* name;
    int maximum;
    // 'c' a renderer crash, 'e' a finished main-frame load
    const char* events;
    QStringList loads; // "page" or "about:blank" for each load the client asks for
};

} // namespace

TEST_F(BrowserClientTest, CrashRecoveryReloadsUpToTheMaximumThenGivesUp)
{
    const QString page = QStringLiteral("https://crash.example/");
    const QStringList four{page, page, page, page};
    const CrashCase cases[] = {
        {"default five", 5, "ccccc", four + QStringList{"about:blank"}},
        {"count starts again after giving up", 5, "cccccc", four + QStringList{"about:blank", page}},
        {"a finished load ends the series", 5, "ccecccc", QStringList{page, page} + four},
        {"a finished load then the fifth crash", 5, "cceccccc", QStringList{page, page} + four + QStringList{"about:blank"}},
        {"one retry gives up at once", 1, "cc", {"about:blank", "about:blank"}},
        {"zero gives up at once", 0, "c", {"about:blank"}},
    };
    adopt();
    for (const CrashCase& c : cases) {
        ConfigStore::write("chromium/render_process_max retry", c.maximum);
        mBrowser->Frame(1)->loads.clear();
        // Each case starts from a clean series.
        client->OnLoadEnd(mBrowser.get(), mBrowser->GetMainFrame(), 200);
        for (const char* e = c.events; *e; ++e) {
            mBrowser->Frame(1)->url = page.toStdString();
            if (*e == 'c')
                client->OnRenderProcessTerminated(mBrowser.get(), TS_PROCESS_CRASHED);
            else
                client->OnLoadEnd(mBrowser.get(), mBrowser->GetMainFrame(), 200);
        }
        EXPECT_EQ(loads(), c.loads) << c.name;
    }
}

TEST_F(BrowserClientTest, CrashLinesCountAndHideTheUrl)
{
    GUI_logPrivateData.setValue(false);
    GUI_isDevelopmentCar.setValue(false);
    adopt();
    mBrowser->Frame(1)->url = "https://crash.example/";
    ConfigStore::write("chromium/render_process_max retry", 3);
    for (int i = 0; i < 3; ++i)
        client->OnRenderProcessTerminated(mBrowser.get(), TS_PROCESS_WAS_KILLED);
    GUI_isDevelopmentCar.setValue(true);
    EXPECT_TRUE(mLog.contains("WARN", "render process crashed 2 times, reload")) << mLog.lines().join("\n").toStdString();
    EXPECT_TRUE(mLog.contains("WARN", "gave up after 3 attempts, url --"));
}

TEST_F(BrowserClientTest, LoadEventsReachTheViewForTheMainFrameOnly)
{
    adopt();
    QStringList seen;
    QObject::connect(mView, &WebKitView::pageLoadDidCommit, [&] { seen << "commit"; });
    QObject::connect(mView, &WebKitView::loadingProgressDidStart, [&] { seen << "start"; });
    QObject::connect(mView, &WebKitView::pageLoadDidFinish, [&] { seen << "finish"; });
    QObject::connect(mView, &WebKitView::loadingProgressDidFinish, [&] { seen << "progress finish"; });
    QObject::connect(mView, &WebKitView::pageDidFirstPaintAfterSuppressedIncrementalRendering, [&] { seen << "paint"; });
    QObject::connect(mView, &WebKitView::pageLoadDidFail, [&](const QUrl& url, const QString& text) {
        seen << "fail " + url.toString() + " " + text;
    });

    client->loadUrl(QUrl("https://example.com/"));
    EXPECT_TRUE(client->currentUrl().isEmpty());
    client->OnLoadStart(mBrowser.get(), mBrowser->GetFrame(2), TT_LINK);
    client->OnLoadEnd(mBrowser.get(), mBrowser->GetFrame(2), 200);
    client->OnLoadError(mBrowser.get(), mBrowser->GetFrame(2), ERR_NAME_NOT_RESOLVED, "sub", "https://ads.example/");
    EXPECT_TRUE(seen.isEmpty());

    client->OnLoadStart(mBrowser.get(), mBrowser->GetMainFrame(), TT_LINK);
    client->OnLoadEnd(mBrowser.get(), mBrowser->GetMainFrame(), 200);
    EXPECT_EQ(seen, (QStringList{"commit", "start", "finish", "progress finish", "paint"}));
    EXPECT_EQ(client->currentUrl(), QUrl("https://example.com/"));
    EXPECT_EQ(mView->url(), QUrl("https://example.com/"));

    seen.clear();
    client->OnLoadError(mBrowser.get(), mBrowser->GetMainFrame(), ERR_ABORTED, "aborted", "https://example.com/x");
    EXPECT_TRUE(seen.isEmpty());
    client->OnLoadError(mBrowser.get(), mBrowser->GetMainFrame(), ERR_NAME_NOT_RESOLVED, "net::ERR_NAME_NOT_RESOLVED",
                        "https://nowhere.invalid/");
    EXPECT_EQ(seen, QStringList{"fail https://nowhere.invalid/ net::ERR_NAME_NOT_RESOLVED"});
}

TEST_F(BrowserClientTest, AddressTitleAndPopupsStayInTheOneView)
{
    adopt();
    QSignalSpy urls(mView, &WebKitView::urlDidChange);
    QSignalSpy titles(mView, &WebKitView::pageTitleDidChange);
    client->OnAddressChange(mBrowser.get(), mBrowser->GetFrame(2), "https://frame.example/");
    client->OnTitleChange(mBrowser.get(), "Hello");
    ASSERT_EQ(urls.size(), 1);
    EXPECT_EQ(urls.at(0).at(0).toUrl(), QUrl("https://frame.example/"));
    ASSERT_EQ(titles.size(), 1);
    EXPECT_EQ(mView->title(), "Hello");

    CefPopupFeatures features;
    CefWindowInfo info;
    CefRefPtr<CefClient> popupClient;
    CefBrowserSettings settings;
    bool noScript = false;
    EXPECT_TRUE(client->OnBeforePopup(mBrowser.get(), mBrowser->GetMainFrame(), "https://popup.example/", "_blank",
                                      WOD_NEW_POPUP, true, features, info, popupClient, settings, &noScript));
    EXPECT_EQ(loads(), QStringList{"https://popup.example/"});
    EXPECT_TRUE(client->OnConsoleMessage(mBrowser.get(), LOGSEVERITY_ERROR, "boom", "https://example.com/", 3));
}

TEST_F(BrowserClientTest, SuspendReloadsWhatWasShowingOnResume)
{
    adopt();
    mView->loadURL(QUrl("https://example.com/asked"));
    client->OnLoadEnd(mBrowser.get(), mBrowser->GetMainFrame(), 200);
    client->OnAddressChange(mBrowser.get(), mBrowser->GetMainFrame(), "https://example.com/shown");
    client->OnTitleChange(mBrowser.get(), "Shown");

    QPointer<ChromiumClient> old = client;
    mView->suspendBrowser(true);
    mView->suspendBrowser(true);
    EXPECT_EQ(mLog.lines().filter("browser suspend").size(), 1);
    EXPECT_EQ(mView->client(), nullptr);
    EXPECT_EQ(mView->title(), "Shown");
    EXPECT_EQ(mView->url(), QUrl("https://example.com/asked")) << "the client's finished load";
    old->OnBeforeClose(mBrowser.get());
    EXPECT_TRUE(old.isNull());

    mView->suspendBrowser(false);
    client = mView->client();
    ASSERT_TRUE(client);
    mBrowser = new FakeBrowser(11);
    adopt();
    EXPECT_EQ(loads(), QStringList{"https://example.com/asked"});
}

TEST_F(BrowserClientTest, TheInputRegionIsThePartOfTheViewThatMayTakeInput)
{
    X11TestWindow window;
    if (!window.isValid())
        GTEST_SKIP() << "no X display";
    ConfigStore::write("chromium/enable_input_shaping", true);
    auto* shaped = new WebKitView(&root);
    shaped->setGeometry(QRect(100, 200, 800, 600));
    QPointer<ChromiumClient> shapedClient = shaped->client();
    ASSERT_TRUE(shapedClient);
    CefRefPtr<FakeBrowser> browser = new FakeBrowser(21);
    browser->host->window = window.id();
    shapedClient->OnAfterCreated(browser.get());

    shaped->moveTo(120, 200);
    EXPECT_EQ(window.inputBounds(), QRect(120, 200, 800, 600));
    shaped->disable();
    EXPECT_TRUE(window.inputBounds().isEmpty());
    shaped->enable();
    EXPECT_EQ(window.inputBounds(), QRect(120, 200, 800, 600));

    theCenterDisplay->setKeyboardHeight(300);
    theCenterDisplay->setKeyboardVisible(true);
    EXPECT_EQ(window.inputBounds(), QRect(120, 200, 800, 1080 - 200 - 300));
    theCenterDisplay->setKeyboardVisible(false);
    EXPECT_EQ(window.inputBounds(), QRect(120, 200, 800, 600));

    auto* popup = new PopupView;
    popup->open();
    EXPECT_TRUE(window.inputBounds().isEmpty()) << "a popup that does not hold the view takes its input";
    popup->close();
    EXPECT_EQ(window.inputBounds(), QRect(120, 200, 800, 600));

    delete shaped;
    shapedClient->OnBeforeClose(browser.get());
    EXPECT_TRUE(shapedClient.isNull());
}
