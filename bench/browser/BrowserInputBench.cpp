// A tap on the web view to the page's mousedown, and a key of the on-screen keyboard to the
// page's keydown, through a bench host as orvane-bench runs it: the plug-in loaded, its web view
// in the Browser screen, the engine ticked every 10 ms. Needs X (xvfb-run) and Chromium.
// Usage: browser-input-bench [RUNS]   (default 200 of each)
#include "BenchHost.h"
#include "BenchOptions.h"
#include "test_support.h"

#include "display/DisplayDevice.h"
#include "views/CenterDisplay.h"
#include "views/AppWindow.h"
#include "views/ButtonView.h"
#include "views/keyboard/KeyboardView.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QTemporaryDir>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <functional>
#include <vector>

namespace {

// The page stamps each event with the wall clock, which this process reads too.
const char* const Page =
    "<body style='margin:0'><input style='position:absolute;left:100px;top:100px;width:600px;height:60px'>"
    "<script>let n = 0;"
    "const stamp = kind => { document.title = `${kind} ${++n} ${(performance.timeOrigin + performance.now()).toFixed(3)}`; };"
    "addEventListener('mousedown', () => stamp('down'), true);"
    "addEventListener('keydown', () => stamp('key'), true);</script>";

double nowMs()
{
    return std::chrono::duration<double, std::milli>(std::chrono::system_clock::now().time_since_epoch()).count();
}

DisplayView* findWebView(DisplayView* view)
{
    if (qstrcmp(view->metaObject()->className(), "WebKitView") == 0)
        return view;
    for (DisplayView* child : view->childViews()) {
        if (DisplayView* found = findWebView(child))
            return found;
    }
    return nullptr;
}

bool runUntil(const std::function<bool()>& done, int timeoutMs)
{
    QElapsedTimer timer;
    timer.start();
    while (!done()) {
        if (timer.elapsed() > timeoutMs)
            return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents, 1);
    }
    return true;
}

double percentile(std::vector<double> v, double p)
{
    std::sort(v.begin(), v.end());
    return v[std::min(v.size() - 1, size_t(p * (v.size() - 1) + 0.5))];
}

class Measure {
public:
    explicit Measure(DisplayView* view)
        : mView(view)
    {
    }

    // The delay from `act` to the page's stamp of the next event of this kind; -1 on time-out.
    double once(const char* kind, const std::function<void()>& act)
    {
        const QString prefix = QStringLiteral("%1 %2 ").arg(QLatin1String(kind)).arg(++mEvents);
        const double start = nowMs();
        act();
        if (!runUntil([&] { return mView->describe().startsWith(prefix); }, 10000))
            return -1;
        return mView->describe().mid(prefix.size()).toDouble() - start;
    }
    // Events the page has counted so far, whatever their kind.
    void resync() { mEvents = mView->describe().section(QLatin1Char(' '), 1, 1).toInt(); }

private:
    DisplayView* mView;
    int mEvents = 0;
};

void report(const char* what, const std::vector<double>& ms)
{
    std::printf("%s, %zu runs: median %.2f ms, p90 %.2f ms, min %.2f ms, max %.2f ms (target: median < 5 ms)\n", what,
                ms.size(), percentile(ms, 0.5), percentile(ms, 0.9), percentile(ms, 0.0), percentile(ms, 1.0));
}

} // namespace

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    int qtArgc = 1;
    QApplication app(qtArgc, argv);
    const int runs = argc > 1 ? std::max(1, std::atoi(argv[1])) : 200;
    QTemporaryDir dir;
    qputenv("XDG_RUNTIME_DIR", dir.path().toLocal8Bit());
    testing_support::HttpServer server;
    server.Serve("/input", Page);

    BenchOptions options;
    QString error;
    if (!parseBenchOptions({"browser-input-bench", "--offscreen", "--service-port", "0", "--plugin", DIAG_PLUGIN_PATH,
                            "--data-dir", dir.filePath("data"), "--browser", QString::fromStdString(server.Url("/input"))},
                           &options, &error)) {
        std::fprintf(stderr, "%s\n", qPrintable(error));
        return 2;
    }
    BenchHost host(options);
    if (!host.start(&error)) {
        std::fprintf(stderr, "%s\n", qPrintable(error));
        return 2;
    }
    DisplayView* view = findWebView(host.window());
    if (!view) {
        std::fprintf(stderr, "no web view in the Browser screen\n");
        return 1;
    }
    const QPoint input = view->rootGeometry().topLeft() + QPoint(400, 130);
    // Chromium may drop input right after a load: tap until the page has seen one.
    if (!runUntil([&] {
            host.display()->tap(input);
            return runUntil([&] { return view->describe().startsWith("down"); }, 1000);
        }, 30000)
        || !runUntil([] { return theCenterDisplay->isKeyboardVisible(); }, 10000)) {
        std::fprintf(stderr, "the page never took a tap and its input the keyboard\n");
        return 1;
    }

    Measure measure(view);
    measure.resync();
    std::vector<double> taps;
    std::vector<double> keys;
    ButtonView* key = theCenterDisplay->keyboard()->keyTowards(QLatin1Char('a'));
    const QPoint keyPoint = key->rootGeometry().center();
    for (int i = 0; i < runs; ++i) {
        // Taps land on the input so that it keeps the keyboard; phases against the tick vary by themselves.
        const double tap = measure.once("down", [&] { host.display()->tap(input); });
        const double stroke = measure.once("key", [&] { host.display()->tap(keyPoint); });
        if (tap < 0 || stroke < 0) {
            std::fprintf(stderr, "an event never reached the page (run %d)\n", i);
            return 1;
        }
        taps.push_back(tap);
        keys.push_back(stroke);
    }
    report("tap on the view to the page's mousedown", taps);
    report("on-screen key to the page's keydown", keys);
    return percentile(taps, 0.5) < 5 && percentile(keys, 0.5) < 5 ? 0 : 3;
}
