// How long the DATA tab takes to show live values, and what the service endpoint's JSON costs
// while the UI keeps painting, with honest clients only and with 200 slow ones.
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

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <thread>
#include <vector>

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

// Paints full frames, the events of each turn handled between them, for `ms`; the slowest in ns.
qint64 slowestFrameFor(DisplayDevice& display, int ms)
{
    qint64 worst = 0;
    QElapsedTimer run;
    run.start();
    while (run.elapsed() < ms) {
        QElapsedTimer frame;
        frame.start();
        QCoreApplication::processEvents();
        display.render();
        worst = qMax(worst, frame.nsecsElapsed());
    }
    return worst;
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
        const qint64 worstFrame = slowestFrameFor(display, 3000);
        running = false;
        client.join();
        state.counters["requests"] = requests.load();
        state.counters["request_ms"] = requests ? totalNs.load() / 1e6 / requests.load() : 0;
        state.counters["worst_request_ms"] = worstNs.load() / 1e6;
        state.counters["worst_frame_ms"] = worstFrame / 1e6;
    }
}

// Clients that each hold a connection with a request head that never ends, one more line a
// second; when the endpoint cuts one off at its deadline, it comes back.
class SlowClients {
public:
    SlowClients(int port, int count)
        : mPort(port)
        , mFds(size_t(count), -1)
        , mThread([this] { run(); })
    {
    }
    ~SlowClients()
    {
        mRunning = false;
        mThread.join();
        for (int fd : mFds)
            ::close(fd);
    }
    // The most connections held at once, each with its head still unanswered.
    int mostHeld() const { return mMostHeld; }

private:
    int open()
    {
        const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in to{};
        to.sin_family = AF_INET;
        to.sin_port = htons(uint16_t(mPort));
        to.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        ::connect(fd, reinterpret_cast<sockaddr*>(&to), sizeof to);
        const std::string head = "GET /api/values HTTP/1.1\r\nHost: 127.0.0.1:" + std::to_string(mPort) + "\r\n";
        ::send(fd, head.data(), head.size(), MSG_NOSIGNAL);
        return fd;
    }
    void run()
    {
        for (int line = 0; mRunning; ++line) {
            int held = 0;
            for (int& fd : mFds) {
                char answer[512];
                const std::string more = "X-Slow: " + std::to_string(line) + "\r\n";
                // An answer (408) or a close from the endpoint: this client was cut off.
                if (fd < 0 || ::recv(fd, answer, sizeof answer, MSG_DONTWAIT) >= 0
                    || ::send(fd, more.data(), more.size(), MSG_NOSIGNAL | MSG_DONTWAIT) < 0) {
                    ::close(fd);
                    fd = open();
                } else {
                    ++held;
                }
            }
            mMostHeld = std::max(mMostHeld.load(), held);
            for (int i = 0; i < 20 && mRunning; ++i)
                std::this_thread::sleep_for(std::chrono::milliseconds(50));
        }
    }

    const int mPort;
    std::vector<int> mFds;
    std::atomic<bool> mRunning{true};
    std::atomic<int> mMostHeld{0};
    std::thread mThread;
};

// While 200 slow clients hold connections: how many requests a second an honest client asking
// for /api/values as fast as it is answered gets, and, with it asking 100 times a second, how
// slow the UI thread's full frames get and how long its slowest request took.
void honestRequestsWhileSlowClientsHold(benchmark::State& state)
{
    AppWindow window;
    window.resize(1920, 1200);
    DisplayDevice display(&window, QSize(1920, 1200));
    for (auto _ : state) {
        SlowClients slow(endpoint->port(), 200);
        std::this_thread::sleep_for(std::chrono::seconds(1)); // all of them connected and holding
        std::atomic<bool> running{true}, paced{false};
        std::atomic<int> served{0}, failed{0};
        std::atomic<qint64> worstPacedNs{0};
        std::thread honest([&] {
            httplib::Client c("127.0.0.1", endpoint->port());
            c.set_read_timeout(10, 0);
            while (running) {
                QElapsedTimer t;
                t.start();
                const auto res = c.Get("/api/values");
                ++(res && res->status == 200 ? served : failed);
                if (paced) {
                    worstPacedNs = qMax<qint64>(worstPacedNs, t.nsecsElapsed());
                    std::this_thread::sleep_for(std::chrono::milliseconds(10) - std::chrono::nanoseconds(t.nsecsElapsed()));
                }
            }
        });
        std::this_thread::sleep_for(std::chrono::seconds(4));
        const double flatOut = served.exchange(0) / 4.0;
        paced = true;
        const qint64 worstFrame = slowestFrameFor(display, 4000);
        running = false;
        honest.join();
        state.counters["honest_requests_per_s"] = flatOut;
        state.counters["honest_failed"] = failed.load();
        state.counters["slow_clients_held"] = slow.mostHeld();
        state.counters["worst_frame_ms"] = worstFrame / 1e6;
        state.counters["worst_paced_request_ms"] = worstPacedNs.load() / 1e6;
    }
}

} // namespace

BENCHMARK(dataTabFirstLiveValues)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(5);
BENCHMARK(valuesJson)->Unit(benchmark::kMicrosecond);
BENCHMARK(valuesOverHttpWhileUiPaints)->Unit(benchmark::kMillisecond)->Iterations(1);
BENCHMARK(honestRequestsWhileSlowClientsHold)->Unit(benchmark::kMillisecond)->Iterations(1);

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
