// The page inside the UI: real Chromium's window, redirected, painted by the web view into an
// off-screen frame. A program of its own, with a profile folder of its own.
#include "BrowserTestSupport.h"

#include "core/ConfigValue.h"
#include "core/DataValues.h"
#include "Screen.h"
#include "gui/cef/ChromiumClient.h"
#include "gui/cef/ChromiumManager.h"
#include "gui/cef/WebKitView.h"
#include "views/CenterDisplay.h"
#include "test_support.h"

#include <QPointer>
#include <QSignalSpy>
#include <gtest/gtest.h>

TEST(ChromiumComposite, APageOfOneColourShowsInTheScreenshotInsideTheView)
{
    ControlGroupCommands commands;
    PrivateChromiumProfile launcher(QStringLiteral(VEXOR_LAUNCHER_DIR));
    ConfigStore::setPath(launcher.folder() + "/car.ini");
    testing_support::HttpServer server;
    server.Serve("/teal.html", "<title>teal</title><body style='margin:0;background:rgb(0,128,128)'></body>");

    ChromiumManager manager;
    theCenterDisplay->setChromiumManager(&manager);
    GUI_allReady.setValue(true);
    Screen screen(QSize(1280, 720));
    auto* view = new WebKitView(&screen.root);
    view->setGeometry(QRect(100, 80, 600, 400));

    const QColor teal(0, 128, 128);
    ASSERT_TRUE(pumpUntil([&] { return view->browserExists(); }, 30000)) << "no browser from Chromium";
    QSignalSpy finished(view, &WebKitView::pageLoadDidFinish);
    view->loadURL(QUrl(QString::fromStdString(server.Url("/teal.html"))));
    ASSERT_TRUE(pumpUntil([&] { return !finished.isEmpty(); }, 30000));
    EXPECT_TRUE(view->isComposited());
    // Chromium paints when it likes; the damage brings its pixels.
    EXPECT_TRUE(pumpUntil([&] { return screen.display.render().pixelColor(400, 280) == teal; }, 30000))
        << qPrintable(screen.display.render().pixelColor(400, 280).name());
    const QImage shot = screen.display.render();
    EXPECT_EQ(shot.pixelColor(100, 80), teal);
    EXPECT_EQ(shot.pixelColor(699, 479), teal);
    EXPECT_EQ(shot.pixelColor(99, 80), QColor(Qt::black));
    EXPECT_EQ(shot.pixelColor(700, 479), QColor(Qt::black));

    QPointer<ChromiumClient> client = view->client();
    delete view;
    EXPECT_TRUE(pumpUntil([&] { return client.isNull(); }, 30000));
    theCenterDisplay->setChromiumManager(nullptr);
}
