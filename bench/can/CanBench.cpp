// Figures for the CAN layer: captured-signal extractions per second, candump replay as fast
// as possible, loading every reference catalogue (with peak memory), and the CPU share
// of six saturated buses replayed in real time.
#include "CanBenchSupport.h"
#include "can/CANData.h"
#include "can/CANDecoder.h"
#include "can/CandumpReplay.h"
#include "core/Logger.h"

#include <benchmark/benchmark.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <malloc.h>
#include <sys/resource.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <random>
#include <thread>

namespace {

void loadAll(CANData& data)
{
    for (const QString& f : referenceCatalogues())
        data.addBusFromFile(f);
}

// A frame for every message of the catalogue, random payload of the message's length.
std::vector<std::pair<int, CanFrame>> framesFor(const CANData& data)
{
    std::mt19937 random(3);
    std::vector<std::pair<int, CanFrame>> frames;
    for (int b = 0; b < data.busCount(); ++b) {
        for (int m = 0; m < data.busAt(b)->messageCount(); ++m) {
            const CANMessageNode* msg = data.busAt(b)->messageAt(m);
            CanFrame f;
            f.clearData();
            f.id = msg->frameId();
            f.flags = msg->isExtended() ? CanFrame::Extended : 0;
            f.len = uint8_t(std::min<unsigned>(msg->definition().dlc, 64));
            for (int i = 0; i < f.len; ++i)
                f.data[i] = uint8_t(random());
            frames.emplace_back(b, f);
        }
    }
    return frames;
}

void BM_DecodeCapturedSignals(benchmark::State& state)
{
    QuietLog quiet;
    CANData data;
    loadAll(data);
    CANDecoder decoder(std::make_shared<const CANData>(data));
    for (int i = 0; i < data.signalCount(); ++i)
        decoder.capture(i);
    const auto frames = framesFor(data);
    size_t signalsPerPass = 0;
    for (const auto& f : frames) {
        const int bus = f.first;
        const int m = data.busAt(bus)->messageIndexForFrame(f.second.id, f.second.isExtended());
        signalsPerPass += size_t(data.busAt(bus)->messageAt(m)->signalCount());
    }
    for (auto _ : state) {
        for (const auto& f : frames)
            decoder.decode(f.second, f.first);
    }
    state.SetItemsProcessed(int64_t(state.iterations() * signalsPerPass));
    state.counters["frames/s"] = benchmark::Counter(double(state.iterations() * frames.size()), benchmark::Counter::kIsRate);
    state.SetLabel("items = captured-signal extractions, every signal of 4 reference catalogues captured");
}
BENCHMARK(BM_DecodeCapturedSignals);

void BM_CandumpReplayAsFastAsPossible(benchmark::State& state)
{
    QuietLog quiet;
    CANData data;
    loadAll(data);
    QTemporaryDir dir;
    const int frames = 500000;
    const QString log = writeLog(dir.filePath(QStringLiteral("fast.log")), data, 2, frames, 0.0001, "can0");
    CANDecoder decoder(std::make_shared<const CANData>(data));
    for (int i = 0; i < data.signalCount(); i += 10)  // a viewer's worth and more: every tenth signal
        decoder.capture(i);
    CANInterfaceRoutes routes(data);
    routes.map(QStringLiteral("can0"), QString::fromUtf8(data.busAt(2)->name()));
    for (auto _ : state) {
        CandumpReplay replay(log, 0, false);
        std::atomic<bool> stop{false};
        replay.run(decoder, routes, stop);
    }
    state.SetItemsProcessed(int64_t(state.iterations()) * frames);
    state.SetLabel("items = frames read from a text log, parsed and decoded");
}
BENCHMARK(BM_CandumpReplayAsFastAsPossible)->Unit(benchmark::kMillisecond);

double heapInUseMiB()
{
    return double(mallinfo2().uordblks) / (1024.0 * 1024.0);
}

void BM_LoadReferenceCatalogues(benchmark::State& state)
{
    QuietLog quiet;
    {
        // What one loaded catalogue keeps on the heap, apart from the program around it.
        const double before = heapInUseMiB();
        CANData kept;
        loadAll(kept);
        state.counters["catalogue_heap_MiB"] = heapInUseMiB() - before;
    }
    for (auto _ : state) {
        CANData data;
        loadAll(data);
        benchmark::DoNotOptimize(data.signalCount());
    }
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    state.counters["peak_rss_MiB"] = double(usage.ru_maxrss) / 1024.0;
    CANData data;
    loadAll(data);
    state.counters["signals"] = data.signalCount();
}
BENCHMARK(BM_LoadReferenceCatalogues)->Unit(benchmark::kMillisecond);

double cpuSeconds()
{
    timespec t{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &t);
    return double(t.tv_sec) + double(t.tv_nsec) / 1e9;
}

// Six buses at about 9,000 frames per second each, replayed in real time on six worker
// threads with every signal captured; the figure is process CPU time over wall time.
void BM_SixSaturatedBuses(benchmark::State& state)
{
    QuietLog quiet;
    CANData data;
    loadAll(data);
    data.addBusFromFile(sourceDir() + QStringLiteral("/assets/can/sample.dbc"), QStringLiteral("sample1"));
    data.addBusFromFile(sourceDir() + QStringLiteral("/assets/can/sample.dbc"), QStringLiteral("sample2"));
    QTemporaryDir dir;
    const double seconds = 5.0;
    const int perBus = int(9000 * seconds);
    std::vector<QString> logs;
    for (int b = 0; b < 6; ++b)
        logs.push_back(writeLog(dir.filePath(QStringLiteral("bus%1.log").arg(b)), data, b, perBus, 1.0 / 9000,
            qPrintable(QStringLiteral("can%1").arg(b))));
    CANDecoder decoder(std::make_shared<const CANData>(data));
    for (int i = 0; i < data.signalCount(); ++i)
        decoder.capture(i);
    CANInterfaceRoutes routes(data);
    for (int b = 0; b < 6; ++b)
        routes.map(QStringLiteral("can%1").arg(b), QString::fromUtf8(data.busAt(b)->name()));
    double share = 0;
    uint64_t frames = 0;
    for (auto _ : state) {
        std::vector<std::unique_ptr<CandumpReplay>> replays;
        for (const QString& log : logs)
            replays.push_back(std::make_unique<CandumpReplay>(log, 1.0, false));
        std::atomic<bool> stop{false};
        const double cpu0 = cpuSeconds();
        const auto wall0 = std::chrono::steady_clock::now();
        std::vector<std::thread> threads;
        for (auto& r : replays)
            threads.emplace_back([&r, &decoder, &routes, &stop] { r->run(decoder, routes, stop); });
        for (auto& t : threads)
            t.join();
        const double wall = std::chrono::duration<double>(std::chrono::steady_clock::now() - wall0).count();
        share = (cpuSeconds() - cpu0) / wall;
        for (auto& r : replays)
            frames += r->statistics().frames;
        state.SetIterationTime(wall);
    }
    state.counters["cpu_share_of_one_core_%"] = share * 100.0;
    state.counters["frames/s"] = double(frames) / seconds / double(state.iterations());
}
BENCHMARK(BM_SixSaturatedBuses)->Iterations(1)->UseManualTime()->Unit(benchmark::kSecond);

} // namespace

BENCHMARK_MAIN();
