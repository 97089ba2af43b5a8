// The factory driving heartbeat over real time: the FACTORY page on an off-screen display,
// START pressed, while the CAN traffic generator feeds the decoder every captured signal, the
// display paints at 60 Hz and the captured values are read ten times a second as the CAN
// viewer does. Reports how far each interval between beats strays from 500 ms.
// Target: p99 deviation under 20 ms. Usage: factory_heartbeat_bench [SECONDS] (default 60).
#include "can/CANData.h"
#include "can/CANDataManager.h"
#include "core/DataValues.h"
#include "core/Logger.h"
#include "diag/factory/FactoryPage.h"
#include "display/DisplayDevice.h"
#include "views/AppWindow.h"
#include "views/ButtonView.h"

#include <QApplication>
#include <QDir>
#include <QImage>
#include <QPainter>
#include <QTimer>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <vector>

namespace {

constexpr double BeatMs = 500;
constexpr double TargetP99Ms = 20;

QString sourceDir()
{
    const QByteArray env = qgetenv("ORVANE_SOURCE_DIR");
    return env.isEmpty() ? QStringLiteral(ORVANE_SOURCE_DIR_DEFAULT) : QString::fromLocal8Bit(env);
}

// Every signal of the catalogue captured; their ids, for reading back.
std::vector<int> captureEverything()
{
    std::vector<int> ids;
    const CANData& catalogue = CANDataManager::catalogue();
    for (int b = 0; b < catalogue.busCount(); ++b) {
        const CANBusNode* bus = catalogue.busAt(b);
        for (int m = 0; m < bus->messageCount(); ++m) {
            const CANMessageNode* message = bus->messageAt(m);
            for (int s = 0; s < message->signalCount(); ++s) {
                CANDataManager::startCapture(message->signalAt(s));
                ids.push_back(message->signalAt(s)->id());
            }
        }
    }
    return ids;
}

double percentile(std::vector<double> sorted, double p)
{
    if (sorted.empty())
        return 0;
    const size_t rank = size_t(std::ceil(p / 100.0 * double(sorted.size())));
    return sorted[std::min(sorted.size(), std::max<size_t>(rank, 1)) - 1];
}

// The sample catalogue's buses generated, every signal captured; empty when it cannot load.
std::vector<int> startCanTraffic()
{
    const QString catalogue = QDir(sourceDir()).filePath(QStringLiteral("assets/can/sample.dbc"));
    if (!CANDataManager::loadCatalogue({catalogue})) {
        std::fprintf(stderr, "factory_heartbeat_bench: cannot load %s\n", qPrintable(catalogue));
        return {};
    }
    std::vector<int> signalIds = captureEverything();
    CANDataManager::addGenerator();
    CANDataManager::startSources();
    return signalIds;
}

ButtonView* startButton(FactoryPage& page)
{
    for (ButtonView* button : page.findChildren<ButtonView*>()) {
        if (button->label() == QLatin1String("START"))
            return button;
    }
    return nullptr;
}

// Prints the beats' intervals and their deviation from the beat; whether the target was met.
bool reportBeats(const std::vector<std::chrono::steady_clock::time_point>& beats, int seconds, int frames,
                 int signalCount)
{
    std::vector<double> intervals;
    std::vector<double> deviations;
    for (size_t i = 1; i < beats.size(); ++i) {
        const double ms = std::chrono::duration<double, std::milli>(beats[i] - beats[i - 1]).count();
        intervals.push_back(ms);
        deviations.push_back(std::fabs(ms - BeatMs));
    }
    if (intervals.empty()) {
        std::fprintf(stderr, "factory_heartbeat_bench: fewer than two beats in %d s\n", seconds);
        return false;
    }
    std::sort(deviations.begin(), deviations.end());
    double mean = 0;
    for (double ms : intervals)
        mean += ms / double(intervals.size());
    const double p99 = percentile(deviations, 99);
    const CANDecoder::Counters bus = CANDataManager::busCounters(0);
    std::printf("beats                 %zu (heartbeat value %d)\n", beats.size(), GUI_factoryKestroHeartbeat.value());
    std::printf("interval mean         %.2f ms (min %.2f, max %.2f)\n", mean,
                *std::min_element(intervals.begin(), intervals.end()), *std::max_element(intervals.begin(), intervals.end()));
    std::printf("deviation from 500 ms p50 %.2f ms, p99 %.2f ms, max %.2f ms\n", percentile(deviations, 50), p99,
                deviations.back());
    std::printf("meanwhile             %d frames painted, %llu CAN frames decoded (%d signals captured)\n", frames,
                static_cast<unsigned long long>(bus.frames), signalCount);
    std::printf("target p99 < %.0f ms: %s\n", TargetP99Ms, p99 < TargetP99Ms ? "met" : "MISSED");
    return p99 < TargetP99Ms;
}

} // namespace

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    const int seconds = argc > 1 ? std::max(1, QString::fromLocal8Bit(argv[1]).toInt()) : 60;
    Logger::removeSink(Logger::standardErrorSink());

    const std::vector<int> signalIds = startCanTraffic();
    if (signalIds.empty())
        return 2;

    GUI_developerMode.setValue(true);
    GUI_factoryMode.setValue(true);
    DAS_factoryKestroStatus.setValue(2);
    AppWindow window;
    window.resize(1920, 1200);
    DisplayDevice display(&window, QSize(1920, 1200));
    FactoryPage page(&window, nullptr);
    page.setGeometry(QRect(32, 52, 1856, 1028));
    page.pageShown();
    for (int i = 0; i < 4; ++i)
        QCoreApplication::processEvents();

    std::vector<std::chrono::steady_clock::time_point> beats;
    beats.reserve(size_t(seconds) * 3);
    QObject::connect(&GUI_factoryKestroHeartbeat, &DataValue::changed,
                     [&beats] { beats.push_back(std::chrono::steady_clock::now()); });

    // The display paints at 60 Hz and a CAN viewer reads every signal at 10 Hz meanwhile.
    QImage canvas(display.size(), QImage::Format_RGB32);
    QTimer frames;
    frames.setTimerType(Qt::PreciseTimer);
    QObject::connect(&frames, &QTimer::timeout, [&] {
        QPainter painter(&canvas);
        display.paint(painter);
    });
    frames.start(16);
    QTimer viewer;
    QObject::connect(&viewer, &QTimer::timeout, [&signalIds] {
        for (int id : signalIds)
            CANDataManager::recentSignalValueAsString(id, 0, 2, QStringLiteral("--"));
    });
    viewer.start(100);

    ButtonView* start = startButton(page);
    if (!start) {
        std::fprintf(stderr, "factory_heartbeat_bench: the page has no START button\n");
        return 2;
    }
    display.tap(start->rootGeometry().center());
    std::printf("Driving for %d s with the CAN generator running...\n", seconds);
    std::fflush(stdout);
    QTimer::singleShot(seconds * 1000, &app, &QCoreApplication::quit);
    app.exec();
    CANDataManager::stopSources();
    return reportBeats(beats, seconds, display.frameCount(), int(signalIds.size())) ? 0 : 1;
}
