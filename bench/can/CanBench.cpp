// Figures for the CAN layer: frames decoded and values read per second, candump replay as fast
// as possible, loading every reference catalogue (with peak memory), and the CPU share of six
// saturated buses replayed in real time (with the decoded values' age) and read from sockets.
#include "CanBenchSupport.h"
#include "can/CANData.h"
#include "can/CANDecoder.h"
#include "can/CandumpReplay.h"
#include "can/SocketCANSource.h"
#include "core/Logger.h"

#include <benchmark/benchmark.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <linux/can.h>
#include <malloc.h>
#include <numeric>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <memory>
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

// The reference catalogues with every signal captured, and a frame of each message.
struct EverySignalCaptured {
    QuietLog quiet;
    CANData data;
    std::unique_ptr<CANDecoder> decoder;
    std::vector<std::pair<int, CanFrame>> frames;

    EverySignalCaptured()
    {
        loadAll(data);
        decoder = std::make_unique<CANDecoder>(std::make_shared<const CANData>(data));
        for (int i = 0; i < data.signalCount(); ++i)
            decoder->capture(i);
        frames = framesFor(data);
    }
};

void BM_DecodeCapturedSignals(benchmark::State& state)
{
    EverySignalCaptured bus;
    for (auto _ : state) {
        for (const auto& f : bus.frames)
            bus.decoder->decode(f.second, f.first);
    }
    state.SetItemsProcessed(int64_t(state.iterations() * bus.frames.size()));
    state.SetLabel("items = frames, every signal of 4 reference catalogues captured");
}
BENCHMARK(BM_DecodeCapturedSignals);

// What the decoder leaves to its readers: each value is taken from its message's stored frame
// when read, as the viewer and the recorder do ten times a second.
void BM_ReadLatestValues(benchmark::State& state)
{
    EverySignalCaptured bus;
    for (const auto& f : bus.frames)
        bus.decoder->decode(f.second, f.first);
    for (auto _ : state) {
        double sum = 0, value = 0;
        for (int i = 0; i < bus.data.signalCount(); ++i)
            sum += bus.decoder->latestValue(i, &value) ? value : 0;
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(int64_t(state.iterations()) * bus.data.signalCount());
    state.SetLabel("items = signal values read, 4 reference catalogues");
}
BENCHMARK(BM_ReadLatestValues);

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

double cpuSeconds(clockid_t clock = CLOCK_PROCESS_CPUTIME_ID)
{
    timespec t{};
    clock_gettime(clock, &t);
    return double(t.tv_sec) + double(t.tv_nsec) / 1e9;
}

constexpr int SaturatedBuses = 6;
constexpr double FramesPerBusPerSecond = 9000;

// Four reference catalogues and the sample twice: six buses to saturate.
CANData saturatedBuses()
{
    CANData data;
    loadAll(data);
    data.addBusFromFile(sourceDir() + QStringLiteral("/assets/can/sample.dbc"), QStringLiteral("sample1"));
    data.addBusFromFile(sourceDir() + QStringLiteral("/assets/can/sample.dbc"), QStringLiteral("sample2"));
    return data;
}

// How old the newest decoded frame is: every ninth frame of a bus is a stamp on a bus of its
// own carrying the frame's index, sampled at uneven moments from another thread. The stamp's
// age is an upper bound: up to eight frames after it may be in as well.
class ValueAge {
public:
    static constexpr int StampEvery = 9;
    static QString stampIface(int bus) { return QStringLiteral("stamp%1").arg(bus); }
    static uint32_t stampId(int bus) { return 0x1FFFFF00u + uint32_t(bus); }

    static void addStampBus(CANData& data)
    {
        QByteArray text;
        for (int b = 0; b < SaturatedBuses; ++b)
            text += QByteArray("BO_ ") + QByteArray::number(0x80000000u | stampId(b)) + " Stamp" + QByteArray::number(b)
                + ": 8 X\n SG_ Index : 0|32@1+ (1,0) [0|4294967295] \"\" X\n";
        data.addBusFromText(text, QStringLiteral("stamps"), QStringLiteral("stamps"));
    }

    // A log like writeLog's, every StampEvery-th line a stamp instead.
    static QString writeStampedLog(const QString& path, const CANData& data, int bus, int frames, double gap)
    {
        QFile f(path);
        f.open(QIODevice::WriteOnly);
        std::mt19937 random(bus + 1);
        const CANBusNode* b = data.busAt(bus);
        char line[128];
        for (int i = 0; i < frames; ++i) {
            const double time = 1000.0 + i * gap;
            int n;
            if (i % StampEvery == 0) {
                const uint32_t v = uint32_t(i);
                n = std::snprintf(line, sizeof line, "(%.6f) %s %08X#%02X%02X%02X%02X00000000\n", time,
                    qPrintable(stampIface(bus)), stampId(bus), v & 0xFF, (v >> 8) & 0xFF, (v >> 16) & 0xFF, v >> 24);
            } else {
                const CANMessageNode* m = b->messageAt(i % b->messageCount());
                const unsigned len = std::min<unsigned>(m->definition().dlc, 8);
                n = std::snprintf(line, sizeof line, m->isExtended() ? "(%.6f) can%d %08X#" : "(%.6f) can%d %03X#", time, bus,
                    m->frameId());
                for (unsigned k = 0; k < len; ++k)
                    n += std::snprintf(line + n, sizeof line - size_t(n), "%02X", unsigned(random() & 0xFF));
                line[n++] = '\n';
            }
            f.write(line, n);
        }
        return path;
    }

    ValueAge(const CANDecoder& decoder, const CANData& data, double gap)
        : mDecoder(decoder)
        , mGap(gap)
    {
        const CANBusNode* stamps = data.findBus(QStringLiteral("stamps"));
        for (int b = 0; b < SaturatedBuses; ++b)
            mSignals.push_back(stamps->messageAt(b)->signalAt(0)->id());
    }

    // When each bus's replay started (nanoseconds of the steady clock), set by its thread.
    std::atomic<int64_t> started[SaturatedBuses] = {};
    void start(int bus) { started[bus] = std::chrono::steady_clock::now().time_since_epoch().count(); }

    // Samples until `stop`, about every 10 ms at uneven moments.
    void sample(const std::atomic<bool>& stop)
    {
        std::mt19937 random(7);
        while (!stop.load()) {
            std::this_thread::sleep_for(std::chrono::microseconds(7000 + random() % 6000));
            const int64_t now = std::chrono::steady_clock::now().time_since_epoch().count();
            for (int b = 0; b < SaturatedBuses; ++b) {
                double index = 0;
                if (started[b].load() != 0 && mDecoder.latestValue(mSignals[size_t(b)], &index))
                    mAgesMs.push_back(double(now - started[b].load()) / 1e6 - index * mGap * 1000.0);
            }
        }
    }
    double percentile(double p)
    {
        if (mAgesMs.empty())
            return -1;
        std::sort(mAgesMs.begin(), mAgesMs.end());
        return mAgesMs[std::min(mAgesMs.size() - 1, size_t(p * double(mAgesMs.size())))];
    }

private:
    const CANDecoder& mDecoder;
    double mGap;
    std::vector<int> mSignals;
    std::vector<double> mAgesMs;
};

// Six buses at 9,000 frames per second each, replayed in real time on six worker threads with
// every signal captured; the figure is process CPU time over wall time, less the thread that
// samples the values' age.
void BM_SixSaturatedBuses(benchmark::State& state)
{
    QuietLog quiet;
    CANData data = saturatedBuses();
    ValueAge::addStampBus(data);
    QTemporaryDir dir;
    const double seconds = 5.0;
    const double gap = 1.0 / FramesPerBusPerSecond;
    std::vector<QString> logs;
    for (int b = 0; b < SaturatedBuses; ++b)
        logs.push_back(ValueAge::writeStampedLog(dir.filePath(QStringLiteral("bus%1.log").arg(b)), data, b,
            int(FramesPerBusPerSecond * seconds), gap));
    CANDecoder decoder(std::make_shared<const CANData>(data));
    for (int i = 0; i < data.signalCount(); ++i)
        decoder.capture(i);
    CANInterfaceRoutes routes(data);
    for (int b = 0; b < SaturatedBuses; ++b) {
        routes.map(QStringLiteral("can%1").arg(b), QString::fromUtf8(data.busAt(b)->name()));
        routes.map(ValueAge::stampIface(b), QStringLiteral("stamps"));
    }
    double share = 0;
    uint64_t frames = 0;
    ValueAge age(decoder, data, gap);
    for (auto _ : state) {
        std::vector<std::unique_ptr<CandumpReplay>> replays;
        for (const QString& log : logs)
            replays.push_back(std::make_unique<CandumpReplay>(log, 1.0, false));
        std::atomic<bool> stop{false}, done{false};
        const double cpu0 = cpuSeconds();
        const auto wall0 = std::chrono::steady_clock::now();
        double samplerCpu = 0;
        std::thread sampler([&] {
            const double own0 = cpuSeconds(CLOCK_THREAD_CPUTIME_ID);
            age.sample(done);
            samplerCpu = cpuSeconds(CLOCK_THREAD_CPUTIME_ID) - own0;
        });
        std::vector<std::thread> threads;
        for (int b = 0; b < SaturatedBuses; ++b)
            threads.emplace_back([&, b] {
                age.start(b);
                replays[size_t(b)]->run(decoder, routes, stop);
            });
        for (auto& t : threads)
            t.join();
        const double wall = std::chrono::duration<double>(std::chrono::steady_clock::now() - wall0).count();
        const double cpu = cpuSeconds() - cpu0;
        done = true;
        sampler.join();
        share = (cpu - samplerCpu) / wall;
        for (auto& r : replays)
            frames += r->statistics().frames;
        state.SetIterationTime(wall);
    }
    state.counters["cpu_share_of_one_core_%"] = share * 100.0;
    state.counters["frames/s"] = double(frames) / seconds / double(state.iterations());
    state.counters["value_age_p50_ms"] = age.percentile(0.5);
    state.counters["value_age_p99_ms"] = age.percentile(0.99);
    state.counters["value_age_max_ms"] = age.percentile(1.0);
}
BENCHMARK(BM_SixSaturatedBuses)->Iterations(1)->UseManualTime()->Unit(benchmark::kSecond);

// The same six buses through SocketCANSource's reading loop. There are no CAN sockets here, so
// a datagram socket pair of each bus stands in: a writer thread sends each bus's frames as
// struct can_frame datagrams, nine every millisecond, and the figure is the readers' CPU only.
void BM_SixSaturatedSocketPairs(benchmark::State& state)
{
    QuietLog quiet;
    const CANData data = saturatedBuses();
    CANDecoder decoder(std::make_shared<const CANData>(data));
    for (int i = 0; i < data.signalCount(); ++i)
        decoder.capture(i);
    const double seconds = 5.0;
    const int framesPerMs = int(FramesPerBusPerSecond / 1000);
    double share = 0, framesPerRead = 0;
    uint64_t received = 0;
    for (auto _ : state) {
        int pairs[SaturatedBuses][2];
        for (auto& pair : pairs) {
            socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, pair);
            const int buffer = 1 << 20;
            setsockopt(pair[0], SOL_SOCKET, SO_RCVBUF, &buffer, sizeof buffer);
        }
        std::atomic<bool> stop{false};
        std::atomic<uint64_t> frames{0}, reads{0};
        double readerCpu[SaturatedBuses] = {};
        std::vector<std::thread> readers;
        for (int b = 0; b < SaturatedBuses; ++b)
            readers.emplace_back([&, b] {
                const double own0 = cpuSeconds(CLOCK_THREAD_CPUTIME_ID);
                SocketCANSource::readFrames(pairs[b][0], decoder, b, stop, CANClock::steady(), &frames, &reads);
                readerCpu[b] = cpuSeconds(CLOCK_THREAD_CPUTIME_ID) - own0;
            });
        const auto wall0 = std::chrono::steady_clock::now();
        std::mt19937 random(5);
        can_frame out[16];
        for (int ms = 0; ms < int(seconds * 1000); ++ms) {
            for (int b = 0; b < SaturatedBuses; ++b) {
                const CANBusNode* bus = data.busAt(b);
                for (int k = 0; k < framesPerMs; ++k) {
                    const CANMessageNode* m = bus->messageAt(int(random() % uint32_t(bus->messageCount())));
                    out[k] = can_frame{};
                    out[k].can_id = m->frameId() | (m->isExtended() ? CAN_EFF_FLAG : 0);
                    out[k].can_dlc = uint8_t(std::min<unsigned>(m->definition().dlc, 8));
                    for (auto& byte : out[k].data)
                        byte = uint8_t(random());
                    send(pairs[b][1], &out[k], sizeof out[k], 0);
                }
            }
            std::this_thread::sleep_until(wall0 + std::chrono::milliseconds(ms + 1));
        }
        for (auto& pair : pairs)
            shutdown(pair[1], SHUT_WR);
        for (auto& t : readers)
            t.join();
        const double wall = std::chrono::duration<double>(std::chrono::steady_clock::now() - wall0).count();
        share = std::accumulate(readerCpu, readerCpu + SaturatedBuses, 0.0) / wall;
        received += frames;
        framesPerRead = double(frames) / double(std::max<uint64_t>(reads, 1));
        for (auto& pair : pairs) {
            close(pair[0]);
            close(pair[1]);
        }
        state.SetIterationTime(wall);
    }
    state.counters["readers_cpu_share_of_one_core_%"] = share * 100.0;
    state.counters["frames/s"] = double(received) / seconds / double(state.iterations());
    state.counters["frames_per_recvmmsg"] = framesPerRead;
    state.SetLabel("socket pairs standing in for CAN sockets (no vcan here)");
}
BENCHMARK(BM_SixSaturatedSocketPairs)->Iterations(1)->UseManualTime()->Unit(benchmark::kSecond);

} // namespace

BENCHMARK_MAIN();
