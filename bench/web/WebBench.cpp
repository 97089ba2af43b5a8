// How long the DATA tab takes to show live values, and what the service endpoint's JSON costs
// while the UI keeps painting.
#include "ServiceEndpoint.h"

#include "core/ConfigValue.h"
#include "diag/DiagVitalsPage.h"
#include "display/DisplayDevice.h"
#include "services/StorageUtils.h"
#include "views/AppWindow.h"
#include "views/WebView.h"

#include <httplib.h>

#include <QApplication>
#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QWebFrame>

#include <benchmark/benchmark.h>

#include <atomic>
#include <thread>

namespace {

ServiceEndpoint* endpoint = nullptr;

// From pageShown() until the dashboard has painted its first values from the car.
void dataTabFirstLiveValues(benchmark::State& state)
{
    QTemporaryDir dir;
    ConfigStore::setPath(dir.filePath("orvane.ini"));
    ConfigStore::write("diag/vitals_url",
                       QStringLiteral("%1/web_content/vitals/vitals.html?endpoint=%2").arg("%1", endpoint->url()));
    AppWindow window;
    window.resize(1920, 1200);
    DisplayDevice display(&window, QSize(1920, 1200));
    for (auto _ : state) {
        DiagVitalsPage page(&window);
        page.setGeometry(QRect(32, 52, 1856, 1028));
        QElapsedTimer timer;
        timer.start();
        page.pageShown();
        while (page.webView()->currentFrame()->title() != QLatin1String("Vitals (live)") && timer.elapsed() < 5000)
            QCoreApplication::processEvents(QEventLoop::AllEvents, 1);
        display.render();
        state.SetIterationTime(timer.nsecsElapsed() / 1e9);
        page.pageHidden();
    }
}

void valuesJson(benchmark::State& state)
{
    for (auto _ : state)
        benchmark::DoNotOptimize(ServiceEndpoint::valuesJson());
}

// GET /api/values at 100 requests a second from another thread; the UI thread paints full
// frames meanwhile. Reports the request time and the slowest frame.
void valuesOverHttpWhileUiPaints(benchmark::State& state)
{
    AppWindow window;
    window.resize(1920, 1200);
    DisplayDevice display(&window, QSize(1920, 1200));
    for (auto _ : state) {
        std::atomic<bool> running{true};
        std::atomic<qint64> totalNs{0}, worstNs{0};
        std::atomic<int> requests{0};
        std::thread client([&] {
            httplib::Client c("127.0.0.1", endpoint->port());
            while (running) {
                QElapsedTimer t;
                t.start();
                auto res = c.Get("/api/values");
                const qint64 ns = t.nsecsElapsed();
                if (res && res->status == 200) {
                    totalNs += ns;
                    worstNs = qMax<qint64>(worstNs, ns);
                    ++requests;
                }
                std::this_thread::sleep_for(std::chrono::milliseconds(10) - std::chrono::nanoseconds(ns));
            }
        });
        qint64 worstFrame = 0;
        QElapsedTimer run;
        run.start();
        while (run.elapsed() < 3000) {
            QElapsedTimer frame;
            frame.start();
            QCoreApplication::processEvents();
            display.render();
            worstFrame = qMax(worstFrame, frame.nsecsElapsed());
        }
        running = false;
        client.join();
        state.counters["requests"] = requests.load();
        state.counters["request_ms"] = requests ? totalNs.load() / 1e6 / requests.load() : 0;
        state.counters["worst_request_ms"] = worstNs.load() / 1e6;
        state.counters["worst_frame_ms"] = worstFrame / 1e6;
    }
}

} // namespace

BENCHMARK(dataTabFirstLiveValues)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(5);
BENCHMARK(valuesJson)->Unit(benchmark::kMicrosecond);
BENCHMARK(valuesOverHttpWhileUiPaints)->Unit(benchmark::kMillisecond)->Iterations(1);

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    StorageUtils::setAssetsFolder(QStringLiteral(ORVANE_ASSETS_DIR));
    ServiceEndpoint service;
    QString error;
    if (!service.start(0, &error)) {
        fprintf(stderr, "web_bench: %s\n", qPrintable(error));
        return 1;
    }
    endpoint = &service;
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
