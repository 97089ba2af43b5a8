// What the UI process spends while a web view shows a static page and nothing happens: the
// host's loop as the bench runs it (the engine pumped whenever it asks, a frame painted
// whenever the display asks), real Chromium, the page composited into the view. Prints the UI
// process's CPU time per window of time, in percent of one core, and their median.
#include "BrowserTestSupport.h"

#include "core/ConfigValue.h"
#include "core/DataValues.h"
#include "core/Logger.h"
#include "display/DisplayDevice.h"
#include "gui/cef/ChromiumClient.h"
#include "gui/cef/ChromiumManager.h"
#include "gui/cef/WebKitView.h"
#include "views/CenterDisplay.h"
#include "test_support.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QPainter>
#include <QPointer>
#include <QTimer>

#include <algorithm>
#include <cstdio>
#include <sys/resource.h>

namespace {

double cpuSeconds()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_utime.tv_sec + usage.ru_stime.tv_sec + (usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
}

// The loop sleeps between events, as the host's does.
void runFor(int ms)
{
    QEventLoop loop;
    QTimer::singleShot(ms, &loop, &QEventLoop::quit);
    loop.exec();
}

bool runUntil(const std::function<bool()>& done, int ms)
{
    QElapsedTimer timer;
    timer.start();
    while (!done() && timer.elapsed() < ms)
        runFor(20);
    return done();
}

void serveStaticPage(testing_support::HttpServer& server)
{
    server.Serve("/static.html",
                 "<title>Owner's manual</title><body style='font:18px sans-serif;background:#f4f4f4'>"
                 "<h1>Charging</h1><p>A static page of text, a table and a picture.</p>"
                 "<table border=1><tr><td>Socket</td><td>Type 2</td></tr><tr><td>Power</td><td>11 kW</td></tr></table>"
                 "<svg width=200 height=80><rect width=200 height=80 fill=teal /></svg></body>");
}

// The host's loop: a frame painted once per turn when asked (the manager pumps its engine).
class PaintedDisplay {
public:
    explicit PaintedDisplay(DisplayView* root)
        : mDisplay(root, QSize(1920, 1200))
        , mScreen(mDisplay.size(), QImage::Format_RGB32)
    {
        mPaint.setSingleShot(true);
        QObject::connect(&mPaint, &QTimer::timeout, [this] {
            QPainter painter(&mScreen);
            mDisplay.paint(painter, mDirty);
            mDirty = QRect();
            ++mFrames;
        });
        QObject::connect(&mDisplay, &DisplayDevice::frameRequested, [this] {
            mDirty = mScreen.rect();
            mPaint.start(0);
        });
        QObject::connect(&mDisplay, &DisplayDevice::areaRequested, [this](const QRect& area) {
            mDirty |= area;
            mPaint.start(0);
        });
    }

    int frames() const { return mFrames; }
    QColor pixelColor(const QPoint& at) const { return mScreen.pixelColor(at); }

private:
    DisplayDevice mDisplay;
    QImage mScreen;
    int mFrames = 0;
    QRect mDirty;
    QTimer mPaint;
};

bool loadPage(WebKitView* view, const std::string& url)
{
    if (!runUntil([&] { return view->browserExists(); }, 30000)) {
        std::fprintf(stderr, "no browser from Chromium\n");
        return false;
    }
    bool finished = false;
    QObject::connect(view, &WebKitView::pageLoadDidFinish, [&] { finished = true; });
    view->loadURL(QUrl(QString::fromStdString(url)));
    if (!runUntil([&] { return finished; }, 30000)) {
        std::fprintf(stderr, "the page did not load\n");
        return false;
    }
    return true;
}

void reportFirstFrames(const WebKitView& view, const PaintedDisplay& display)
{
    const bool shown = display.pixelColor(view.rootGeometry().bottomRight() - QPoint(10, 10)) == QColor(0xf4, 0xf4, 0xf4);
    std::printf("composited: %s, page in the frame: %s, %d frames painted while loading\n",
                view.isComposited() ? "yes" : "no", shown ? "yes" : "no", display.frames());
}

void measureIdleWindows(const PaintedDisplay& display, int windows, int windowSeconds)
{
    std::vector<double> percents;
    for (int i = 0; i < windows; ++i) {
        const int framesBefore = display.frames();
        const double before = cpuSeconds();
        QElapsedTimer wall;
        wall.start();
        runFor(windowSeconds * 1000);
        const double percent = 100.0 * (cpuSeconds() - before) / (wall.nsecsElapsed() / 1e9);
        percents.push_back(percent);
        std::printf("window %d: %.2f %% of one core, %d frames painted\n", i + 1, percent, display.frames() - framesBefore);
        std::fflush(stdout);
    }
    std::sort(percents.begin(), percents.end());
    std::printf("median: %.2f %% of one core over %d windows of %d s\n", percents[percents.size() / 2], windows,
                windowSeconds);
}

// Waits for the engine to let the page's browser go.
void closeView(WebKitView* view)
{
    QPointer<ChromiumClient> client = view->client();
    delete view;
    runUntil([&] { return client.isNull(); }, 10000);
}

} // namespace

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    const int windowSeconds = argc > 1 ? atoi(argv[1]) : 10;
    const int windows = argc > 2 ? atoi(argv[2]) : 3;

    ControlGroupCommands commands;
    PrivateChromiumProfile launcher(QStringLiteral(VEXOR_LAUNCHER_DIR));
    ConfigStore::setPath(launcher.folder() + "/car.ini");
    testing_support::HttpServer server;
    serveStaticPage(server);

    ChromiumManager manager;
    theCenterDisplay->setChromiumManager(&manager);
    DisplayView root;
    root.resize(1920, 1200);
    PaintedDisplay display(&root);

    GUI_allReady.setValue(true);
    auto* view = new WebKitView(&root);
    view->setGeometry(QRect(32, 52, 1856, 984));
    if (!loadPage(view, server.Url("/static.html")))
        return 1;
    runFor(2000); // first paints and the page settling
    reportFirstFrames(*view, display);
    measureIdleWindows(display, windows, windowSeconds);

    closeView(view);
    theCenterDisplay->setChromiumManager(nullptr);
    return 0;
}
