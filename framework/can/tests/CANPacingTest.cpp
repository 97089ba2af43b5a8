// Pacing on a virtual clock: the shared pacer's ticks, replayed logs keeping their pace, the
// generator's batches, and socket reads in batches.
#include "CANTestSupport.h"
#include "VirtualClock.h"

#include "can/CANData.h"
#include "can/CANDecoder.h"
#include "can/CANPacer.h"
#include "can/CandumpReplay.h"
#include "can/SocketCANSource.h"

#include <QFile>
#include <QTemporaryDir>

#include <linux/can.h>
#include <sys/socket.h>
#include <unistd.h>

#include <thread>
#include <vector>

namespace {

using namespace std::chrono_literals;
using TimePoint = CANClock::TimePoint;

// Tells when the pacer asked it and hands it the due times it is given.
struct RecordingClient : CANPacer::Client {
    std::mutex mutex;
    std::vector<TimePoint> dues;  // ascending
    std::vector<TimePoint> passes;
    TimePoint deliverDue(TimePoint now) override
    {
        std::lock_guard<std::mutex> lock(mutex);
        passes.push_back(now);
        while (!dues.empty() && dues.front() <= now)
            dues.erase(dues.begin());
        return dues.empty() ? TimePoint::max() : dues.front();
    }
};

TEST(CANPacer, SourcesDueWithinOneTickShareOneWakeUpOnTheGrid)
{
    EXPECT_EQ(CANPacer::alignUp(TimePoint(1000ms)), TimePoint(1000ms));
    EXPECT_EQ(CANPacer::alignUp(TimePoint(1000ms + 1ns)), TimePoint(1000ms + CANPacer::Tick));
    EXPECT_EQ(CANPacer::alignUp(TimePoint(1001ms), 50ms), TimePoint(1050ms));

    VirtualClock clock(TimePoint(1000ms));
    RecordingClient a, b;
    a.dues = {TimePoint(1003ms), TimePoint(1042ms)};
    b.dues = {TimePoint(1007ms), TimePoint(1041ms)};
    clock.setHorizon(TimePoint(1045ms));
    {
        CANPacer pacer(clock);
        pacer.add(&a);
        pacer.add(&b);
        // The next wake-up, 1050, is past the horizon.
        clock.waitForHorizon();
        pacer.remove(&a);
        pacer.remove(&b);
    }
    // Both frames due within the first tick came in one pass at its end.
    EXPECT_EQ(a.passes.back(), TimePoint(1000ms + CANPacer::Tick));
    EXPECT_EQ(b.passes.back(), TimePoint(1000ms + CANPacer::Tick));
    EXPECT_EQ(a.dues, std::vector<TimePoint>{TimePoint(1042ms)});
    EXPECT_EQ(b.dues, std::vector<TimePoint>{TimePoint(1041ms)});
    // Besides the passes that registering brings at once, every pass is on the grid.
    for (const TimePoint pass : b.passes)
        EXPECT_TRUE(pass == TimePoint(1000ms) || pass == TimePoint(1000ms + CANPacer::Tick)) << pass.time_since_epoch().count();
}

// A whole replay on a virtual clock of its own, which never waits.
struct WholeReplay {
    VirtualClock clock;
    CANPacer pacer{clock};
    ReplayRig bus;
    CandumpReplay replay;
    WholeReplay(const QString& path, double speed)
        : replay(path, speed, false, pacer)
    {
    }
    CANFrameSource::Outcome run()
    {
        const std::atomic<bool> stop{false};
        return replay.run(*bus.decoder, bus.routes, stop);
    }
};

TEST(CandumpReplay, PacedFramesComeInBatchesAtMostATickLateAndNeverEarly)
{
    QTemporaryDir dir;
    const QString path = writeLog(dir, 61, 0.01);  // 0.6 s of traffic
    for (double speed : {1.0, 2.0}) {
        WholeReplay whole(path, speed);
        EXPECT_EQ(whole.run(), CANFrameSource::Outcome::Finished);
        const auto took = whole.clock.now() - VirtualClock::defaultStart();
        EXPECT_GE(took, std::chrono::duration_cast<TimePoint::duration>(600ms / speed)) << "speed " << speed;
        EXPECT_LE(took, std::chrono::duration_cast<TimePoint::duration>(600ms / speed) + CANPacer::Tick) << "speed " << speed;
        EXPECT_EQ(whole.replay.statistics().frames, 61u);
        EXPECT_EQ(whole.bus.value(), QStringLiteral("60"));
    }
    // Stopped 300 ms in: the frames due by the last tick are in, none after it.
    PacedRun run;
    ReplayRig bus;
    CandumpReplay replay(path, 1.0, false, run.pacer);
    run.runUntil(300ms, replay, *bus.decoder, bus.routes);
    // Frames due 0 ... 290 ms in: the tick 295 ms in delivered the last; 305 ms is past the horizon.
    EXPECT_EQ(replay.statistics().frames, 30u);
    EXPECT_EQ(bus.value(), QStringLiteral("29"));
    run.stopNow();
}

TEST(CandumpReplay, ALogFarLongerThanOneReadLosesNoLineAtTheSeams)
{
    // Lines of uneven length straddle every seam between reads.
    QTemporaryDir dir;
    QByteArray extra;
    for (int i = 0; i < 3000; ++i)
        extra += QByteArray("(1020.") + QByteArray::number(100000 + i) + ") can0 064#" + QByteArray(i % 7 == 0 ? "2A" : "2A00000000") + "\n";
    const QString path = writeLog(dir, 3000, 0.001, extra);
    for (double speed : {0.0, 1.0}) {
        WholeReplay whole(path, speed);
        EXPECT_EQ(whole.run(), CANFrameSource::Outcome::Finished);
        EXPECT_EQ(whole.replay.statistics().frames, 6000u) << "speed " << speed;
        EXPECT_EQ(whole.replay.statistics().malformedLines, 0u) << "speed " << speed;
        EXPECT_EQ(whole.bus.decoder->counters(0).frames, 6000u) << "speed " << speed;
        EXPECT_EQ(whole.bus.value(), QStringLiteral("42"));
    }
}

TEST(CandumpReplay, LoopingRunsOnWithoutAPauseOrAPileUp)
{
    QTemporaryDir dir;
    const QString path = writeLog(dir, 11, 0.01);  // one pass: 0.1 s span plus a 10 ms gap
    PacedRun run;
    ReplayRig bus;
    CandumpReplay replay(path, 1.0, true, run.pacer);
    run.runUntil(550ms, replay, *bus.decoder, bus.routes);
    // One frame every 10 ms across the passes: 0 ... 540 ms in.
    EXPECT_EQ(replay.statistics().frames, 55u);
    EXPECT_EQ(bus.value(), QStringLiteral("10"));
    EXPECT_GE(replay.statistics().passes, 5u);
    EXPECT_EQ(run.stopNow(), CANFrameSource::Outcome::Stopped);
}

TEST(CandumpReplay, AStopRequestEndsAReplayWaitingForItsNextFrame)
{
    // The second frame is due a second in, past the horizon: the replay waits until stopped.
    QTemporaryDir dir;
    const QString path = writeLog(dir, 20000, 1.0);
    PacedRun run;
    ReplayRig bus;
    CandumpReplay replay(path, 1.0, false, run.pacer);
    run.runUntil(0ms, replay, *bus.decoder, bus.routes);
    EXPECT_EQ(run.stopNow(), CANFrameSource::Outcome::Stopped);
    EXPECT_EQ(replay.statistics().frames, 1u);
}

// One end of a datagram socket pair stands in for a CAN socket.
struct SocketPair {
    int fds[2] = {-1, -1};
    SocketPair() { EXPECT_EQ(::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, fds), 0); }
    ~SocketPair()
    {
        for (int fd : fds)
            if (fd >= 0)
                ::close(fd);
    }
    void send(const void* data, size_t size) { ASSERT_EQ(::send(fds[1], data, size, 0), ssize_t(size)); }
    void hangUp()
    {
        ::close(fds[1]);
        fds[1] = -1;
    }
};

TEST(SocketCANSource, ReadsWhatGatheredInBatchesOfFrames)
{
    ReplayRig bus;
    SocketPair pair;
    for (int i = 0; i < 200; ++i) {
        can_frame frame{};
        frame.can_id = 100;
        frame.can_dlc = 1;
        frame.data[0] = uint8_t(i);
        pair.send(&frame, sizeof frame);
    }
    canfd_frame fd{};
    fd.can_id = 100;
    fd.len = 12;
    fd.data[0] = 201;
    pair.send(&fd, sizeof fd);
    can_frame error{};
    error.can_id = CAN_ERR_FLAG | 4;
    pair.send(&error, sizeof error);
    const char odd[5] = {};
    pair.send(odd, sizeof odd);  // no frame's size: skipped
    pair.hangUp();

    VirtualClock clock;
    std::atomic<bool> stop{false};
    std::atomic<uint64_t> frames{0}, reads{0};
    EXPECT_EQ(SocketCANSource::readFrames(pair.fds[0], *bus.decoder, 0, stop, clock, &frames, &reads),
        CANFrameSource::Outcome::Finished);
    EXPECT_EQ(frames.load(), 202u);
    // 203 datagrams gathered: three full batches of 64 and the rest.
    EXPECT_EQ(reads.load(), 4u);
    const CANDecoder::Counters counters = bus.decoder->counters(0);
    EXPECT_EQ(counters.frames, 201u);
    EXPECT_EQ(counters.errorFrames, 1u);
    EXPECT_EQ(bus.value(), QStringLiteral("201"));
}

TEST(SocketCANSource, AQuietSocketStillHearsAStopRequest)
{
    ReplayRig bus;
    SocketPair pair;
    std::atomic<bool> stop{false};
    CANFrameSource::Outcome outcome = CANFrameSource::Outcome::Failed;
    std::thread reader([&] { outcome = SocketCANSource::readFrames(pair.fds[0], *bus.decoder, 0, stop, CANClock::steady()); });
    stop = true;
    reader.join();
    EXPECT_EQ(outcome, CANFrameSource::Outcome::Stopped);
}

TEST(CANDecoder, ABatchCountsItsFramesOnce)
{
    ReplayRig bus;
    std::vector<CanFrame> frames(5);
    for (size_t i = 0; i < frames.size(); ++i) {
        frames[i].clearData();
        frames[i].id = 100;
        frames[i].len = 1;
        frames[i].data[0] = uint8_t(10 + i);
    }
    frames[1].id = 101;                                // unknown
    frames[2].flags = CanFrame::ErrorReport;          // counted, not decoded
    frames[3].len = 0;                                 // short
    bus.decoder->decode(frames.data(), frames.size(), 0);
    const CANDecoder::Counters c = bus.decoder->counters(0);
    EXPECT_EQ(c.frames, 4u);
    EXPECT_EQ(c.unknownIds, 1u);
    EXPECT_EQ(c.errorFrames, 1u);
    EXPECT_EQ(c.shortFrames, 1u);
    EXPECT_EQ(bus.value(), QStringLiteral("14"));
    // Unrouted, each frame finds its bus.
    bus.decoder->decode(frames.data(), 1, CANDecoder::Unrouted);
    EXPECT_EQ(bus.decoder->counters(0).frames, 5u);
}

} // namespace
