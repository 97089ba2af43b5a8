#include "CANTestSupport.h"
#include "VirtualClock.h"

#include "can/CANData.h"
#include "can/CANDataManager.h"
#include "can/CANDecoder.h"
#include "can/CANTrafficGenerator.h"
#include "can/CandumpParser.h"
#include "can/CandumpReplay.h"
#include "can/SocketCANSource.h"
#include "core/Logger.h"

#include <QFile>
#include <QTemporaryDir>

#include <cmath>
#include <sys/stat.h>

#include <thread>

#include <unistd.h>

namespace {

using namespace std::chrono_literals;
using Kind = CandumpRecord::Kind;

struct LineCase {
    const char* line;
    Kind kind;
    uint32_t id;
    uint8_t flags;
    std::vector<uint8_t> data;
    double time;  // negative: no time stamp
    const char* iface;
};

const LineCase lineCases[] = {
    {"(1436509052.249713) vcan0 044#2A366C2BBA", Kind::Frame, 0x44, 0, {0x2A, 0x36, 0x6C, 0x2B, 0xBA}, 1436509052.249713, "vcan0"},
    {"(0.000100) can1 18FEF4FE#0102", Kind::Frame, 0x18FEF4FE, CanFrame::Extended, {1, 2}, 0.0001, "can1"},
    {"(1.5) can0 00000123#", Kind::Frame, 0x123, CanFrame::Extended, {}, 1.5, "can0"},
    {"(1.0) can0 123#R", Kind::Frame, 0x123, CanFrame::Remote, {}, 1.0, "can0"},
    {"(1.0) can0 123#R4", Kind::Frame, 0x123, CanFrame::Remote, {0, 0, 0, 0}, 1.0, "can0"},
    {"(1.0) can0 120##1" "00112233445566778899AABB", Kind::Frame, 0x120, CanFrame::Fd | CanFrame::BitRateSwitch,
        {0, 0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77, 0x88, 0x99, 0xAA, 0xBB}, 1.0, "can0"},
    {"(1.0) can0 123#11.22.33", Kind::Frame, 0x123, 0, {0x11, 0x22, 0x33}, 1.0, "can0"},
    {"(1.0) can0 123#1122334455667788_9", Kind::Frame, 0x123, 0, {0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77, 0x88}, 1.0, "can0"},
    {"(1.0) can0 123#deadbeef T", Kind::Frame, 0x123, 0, {0xDE, 0xAD, 0xBE, 0xEF}, 1.0, "can0"},
    {"(1.0) can0 123#R T", Kind::Frame, 0x123, CanFrame::Remote, {}, 1.0, "can0"},
    {"(1.0) can0 123#1122_9\tR", Kind::Frame, 0x123, 0, {0x11, 0x22}, 1.0, "can0"},
    {"can0 123#01", Kind::Frame, 0x123, 0, {1}, -1, "can0"},
    {"  vcan0  123   [4]  DE AD BE EF", Kind::Frame, 0x123, 0, {0xDE, 0xAD, 0xBE, 0xEF}, -1, "vcan0"},
    {" (1436509052.249713)  vcan0  18FEF4FE   [2]  01 02", Kind::Frame, 0x18FEF4FE, CanFrame::Extended, {1, 2}, 1436509052.249713, "vcan0"},
    {" (2015-07-10 08:17:32.250000)  can0  7FF   [1]  AA", Kind::Frame, 0x7FF, 0, {0xAA}, 1436516252.25, "can0"},
    {"  can0  123  [12]  01 02 03 04 05 06 07 08 09 0A 0B 0C", Kind::Frame, 0x123, CanFrame::Fd, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}, -1, "can0"},
    {"  can0  123   [2]  remote request", Kind::Frame, 0x123, CanFrame::Remote, {0, 0}, -1, "can0"},
    {"  can0  123   [0] ", Kind::Frame, 0x123, 0, {}, -1, "can0"},
    {"(1.0) can0 20000004#0000000000000000", Kind::ErrorFrame, 0, 0, {}, 1.0, "can0"},
    {"  can0  20000080   [8]  00 00 00 00 00 00 00 00", Kind::ErrorFrame, 0, 0, {}, -1, "can0"},
    {"", Kind::Blank, 0, 0, {}, -1, ""},
    {"   \t", Kind::Blank, 0, 0, {}, -1, ""},
    {"# a comment", Kind::Blank, 0, 0, {}, -1, ""},
    // Malformed: each must be refused, never half-read.
    {"(1.0) can0 800#01", Kind::Malformed, 0, 0, {}, 1.0, "can0"},           // beyond 11 bits
    {"(1.0) can0 123#012", Kind::Malformed, 0, 0, {}, 1.0, "can0"},          // odd nibble
    {"(1.0) can0 123#010203040506070809", Kind::Malformed, 0, 0, {}, 1.0, "can0"},  // 9 bytes classic
    {"(1.0) can0 123##0010203040506070809", Kind::Malformed, 0, 0, {}, 1.0, "can0"},  // 9 bytes FD
    {"(1.0) can0 123#R9", Kind::Malformed, 0, 0, {}, 1.0, "can0"},
    {"(1.0) can0 G23#01", Kind::Malformed, 0, 0, {}, 1.0, "can0"},
    {"(1.0) can0 1G3#01", Kind::Malformed, 0, 0, {}, 1.0, "can0"},
    {"(1.0) can0 #01", Kind::Malformed, 0, 0, {}, 1.0, "can0"},
    {"(1.0) can0 123#R45", Kind::Malformed, 0, 0, {}, 1.0, "can0"},
    {"(1.0) can0 123#11_ T", Kind::Malformed, 0, 0, {}, 1.0, "can0"},
    {"(1.0) can0 123#11_9Z", Kind::Malformed, 0, 0, {}, 1.0, "can0"},
    {"(1.0) can0 123##1ABC", Kind::Malformed, 0, 0, {}, 1.0, "can0"},
    {"(1.0) can0 123456789#01", Kind::Malformed, 0, 0, {}, 1.0, "can0"},
    {"(1.0) can0 DFFFFFFF#01", Kind::Malformed, 0, 0, {}, 1.0, "can0"},      // beyond 29 bits, no error flag
    {"(1.0 can0 123#01", Kind::Malformed, 0, 0, {}, 0, ""},
    {"(-5.0) can0 123#01", Kind::Malformed, 0, 0, {}, 0, ""},
    {"(1e300) can0 123#01", Kind::Malformed, 0, 0, {}, 0, ""},
    {"(253402300800.0) can0 123#01", Kind::Malformed, 0, 0, {}, 0, ""},
    {"(nan) can0 123#01", Kind::Malformed, 0, 0, {}, 0, ""},
    {"(4430640669306406-07-10 08:17:32.25) can0 123#01", Kind::Malformed, 0, 0, {}, 0, ""},  // year overflows
    {"(abc) can0 123#01", Kind::Malformed, 0, 0, {}, 0, ""},
    {"(1.0) can0", Kind::Malformed, 0, 0, {}, 1.0, "can0"},
    {"(1.0) can0 123#01 extra", Kind::Malformed, 0, 0, {}, 1.0, "can0"},
    {"  can0  123   [4]  DE AD BE", Kind::Malformed, 0, 0, {}, -1, "can0"},     // fewer bytes than said
    {"  can0  123   [9]  01 02 03 04 05 06 07 08 09", Kind::Malformed, 0, 0, {}, -1, "can0"},
    {"  can0  123   4  DE AD BE EF", Kind::Malformed, 0, 0, {}, -1, "can0"},
};

TEST(CandumpLine, ParsesEveryForm)
{
    for (const LineCase& c : lineCases) {
        SCOPED_TRACE(c.line);
        CandumpRecord r;
        ASSERT_EQ(parseCandumpLine(c.line, r), c.kind);
        if (c.kind != Kind::Frame)
            continue;
        EXPECT_EQ(r.frame.id, c.id);
        EXPECT_EQ(r.frame.flags, c.flags);
        ASSERT_EQ(r.frame.len, c.data.size());
        if (!r.frame.isRemote()) {
            EXPECT_EQ(std::vector<uint8_t>(r.frame.data, r.frame.data + r.frame.len), c.data);
        }
        EXPECT_EQ(r.hasTime, c.time >= 0);
        if (c.time >= 0) {
            EXPECT_NEAR(r.time, c.time, 1e-6);
        }
        EXPECT_EQ(r.iface, c.iface);
    }
}

TEST(CandumpReplay, CountsAndSkipsBadLinesAndErrorFrames)
{
    QTemporaryDir dir;
    const QString path = writeLog(dir, 5, 0.001,
        "garbage line\n(1001.0) can0 064#0\n(1001.0) can0 20000004#0000000000000000\n\n(1001.0) can0 064#2A");  // no final newline
    ReplayRig rig;
    CandumpReplay replay(path, 0, false);
    CapturingLogSink log;
    EXPECT_EQ(rig.run(replay), CANFrameSource::Outcome::Finished);
    EXPECT_EQ(replay.statistics().frames, 6u);
    EXPECT_EQ(replay.statistics().malformedLines, 2u);
    EXPECT_EQ(replay.statistics().errorFrames, 1u);
    EXPECT_EQ(rig.decoder->counters(0).errorFrames, 1u);
    EXPECT_EQ(rig.value(), QStringLiteral("42"));
    EXPECT_TRUE(log.contains(QStringLiteral("INFO"),
        QStringLiteral("CAN log %1 replayed: 6 frames, 2 malformed lines and 1 error frames skipped").arg(path)));
}

TEST(CandumpReplay, TimesThatGoBackOrLeapADayAreMalformedLines)
{
    QTemporaryDir dir;
    const QString path = writeLog(dir, 3, 0.01,
        "(999.0) can0 064#03\n"          // before the line above it
        "(87400.03) can0 064#04\n"       // a day and a bit later
        "(1000.02) can0 064#05\n"        // the same time as the last good line
        "can0 064#06\n"                  // no time at all
        "(1086400.0) can0 064#07\n");   // more than a day after the one before
    ReplayRig rig;
    CandumpReplay replay(path, 0, false);
    EXPECT_EQ(rig.run(replay), CANFrameSource::Outcome::Finished);
    EXPECT_EQ(replay.statistics().frames, 5u);
    EXPECT_EQ(replay.statistics().malformedLines, 3u);
    EXPECT_EQ(rig.value(), QStringLiteral("6"));
}

TEST(CandumpReplay, BinaryAndOverlongLinesAreSkippedNotFatal)
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("odd.log"));
    {
        QFile f(path);
        ASSERT_TRUE(f.open(QIODevice::WriteOnly));
        f.write(QByteArray(3 * 1024 * 1024, 'x'));  // one line longer than any read buffer
        f.write("\n(1.0) can0 064#07\n");
        f.write(QByteArray("\0\x01\xFF\n", 4));
        f.write("(2.0) can0 064#09\n");
    }
    ReplayRig rig;
    CandumpReplay replay(path, 0, false);
    EXPECT_EQ(rig.run(replay), CANFrameSource::Outcome::Finished);
    EXPECT_EQ(replay.statistics().frames, 2u);
    EXPECT_EQ(replay.statistics().malformedLines, 2u);
    EXPECT_EQ(rig.value(), QStringLiteral("9"));
}

TEST(CandumpReplay, APipeIsReadAsItsWriterWritesAndStopsWithoutOne)
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("live.log"));
    ASSERT_EQ(::mkfifo(QFile::encodeName(path).constData(), 0600), 0);
    {
        // Nobody ever writes: a stop request still ends the replay.
        ReplayRig rig;
        CandumpReplay replay(path, 0, true);
        CANFrameSource::Outcome outcome = CANFrameSource::Outcome::Failed;
        std::thread worker([&] { outcome = rig.run(replay); });
        rig.stop = true;
        worker.join();
        EXPECT_EQ(outcome, CANFrameSource::Outcome::Stopped);
    }
    ReplayRig rig;
    CandumpReplay replay(path, 0, true);
    std::thread writer([&] {
        QFile live(path);
        ASSERT_TRUE(live.open(QIODevice::WriteOnly)); // once the replay has opened its end
        live.write("(1.0) can0 064#07\n");
        live.flush();
        live.write("(2.0) can0 064#09\n");
    });
    // The writer closing ends it, looping or not.
    EXPECT_EQ(rig.run(replay), CANFrameSource::Outcome::Finished);
    writer.join();
    EXPECT_EQ(replay.statistics().frames, 2u);
    EXPECT_EQ(replay.statistics().passes, 1u);
    EXPECT_EQ(rig.value(), QStringLiteral("9"));
}

TEST(CandumpReplay, MissingLogIsOneClearLine)
{
    ReplayRig rig;
    CapturingLogSink log;
    CandumpReplay replay(QStringLiteral("/nonexistent/drive.log"), 1, true);
    EXPECT_EQ(rig.run(replay), CANFrameSource::Outcome::Failed);
    EXPECT_EQ(log.lines(),
        QStringList{QStringLiteral("ERROR CAN log /nonexistent/drive.log cannot be read: No such file or directory")});
}

TEST(CANInterfaceRoutes, ExplicitThenSameNameThenOnlyBus)
{
    CANData two;
    ASSERT_TRUE(two.addBusFromText("BO_ 1 A: 1 X\n", "PT", "a"));
    ASSERT_TRUE(two.addBusFromText("BO_ 1 A: 1 X\n", "can1", "b"));
    CANInterfaceRoutes routes(two);
    EXPECT_TRUE(routes.map(QStringLiteral("can0"), QStringLiteral("PT")));
    EXPECT_FALSE(routes.map(QStringLiteral("can2"), QStringLiteral("Nope")));
    EXPECT_EQ(routes.busFor("can0"), 0);
    EXPECT_EQ(routes.busFor("can1"), 1);
    EXPECT_EQ(routes.busFor("can2"), CANDecoder::Unrouted);
    CANData one;
    ASSERT_TRUE(one.addBusFromText("BO_ 1 A: 1 X\n", "PT", "a"));
    EXPECT_EQ(CANInterfaceRoutes(one).busFor("anything"), 0);
}

TEST(SocketCANSource, UnreadableInterfaceIsLoggedOnceAndRetried)
{
    ReplayRig rig;
    CapturingLogSink log;
    SocketCANSource source(QStringLiteral("nosuchcan9"));
    EXPECT_EQ(rig.run(source), CANFrameSource::Outcome::Failed);
    EXPECT_EQ(rig.run(source), CANFrameSource::Outcome::Failed);
    EXPECT_TRUE(source.retryAfterFailure());
    ASSERT_EQ(log.lines().size(), 1) << log.lines().join(QLatin1Char('\n')).toStdString();
    EXPECT_TRUE(log.lines()[0].startsWith(QStringLiteral("ERROR CAN interface nosuchcan9 cannot be read: ")));
}

TEST(SocketCANSource, ReadsAVirtualInterfaceWhenTheSystemHasOne)
{
    std::string error;
    const int fd = SocketCANSource::openSocket("vcan0", &error);
    if (fd < 0)
        GTEST_SKIP() << "no vcan0 here (" << error << "); create one with: ip link add dev vcan0 type vcan && ip link set up vcan0";
    ::close(fd);
    ReplayRig rig;
    // Virtual time passes at once between batches: nothing here waits for a tick.
    VirtualClock clock;
    SocketCANSource source(QStringLiteral("vcan0"), clock);
    const int tx = SocketCANSource::openSocket("vcan0", &error);
    ASSERT_GE(tx, 0) << error;
    std::thread worker([&] { rig.run(source); });
    struct {
        uint32_t id;
        uint8_t len, pad[3];
        uint8_t data[8];
    } frame{100, 1, {}, {77}};
    // Frames sent before the source has bound its socket never reach it: sent until one has.
    EXPECT_TRUE(eventually([&] {
        EXPECT_EQ(::write(tx, &frame, sizeof frame), ssize_t(sizeof frame));
        return rig.value() == QStringLiteral("77");
    }));
    ::close(tx);
    rig.stop = true;
    worker.join();
}

TEST(CANTrafficGenerator, EverySignalMovesWithinItsRangeAtItsCycleTime)
{
    CANData data;
    ASSERT_TRUE(data.addBusFromFile(sampleCatalogue()));
    CANDecoder decoder(std::make_shared<const CANData>(data));
    for (int i = 0; i < data.signalCount(); ++i)
        decoder.capture(i);
    PacedRun run;
    CANTrafficGenerator generator(10.0, {}, run.pacer);
    // Ten times faster on a virtual clock, batches every 50 ms: the last 495 ms in, 4.95 s of traffic.
    run.runUntil(500ms, generator, decoder);
    // Per second: 50 + 100 + 20 + 5 + 10 + 1 + 2 frames; each message may be one off at either end.
    EXPECT_NEAR(double(generator.framesSent()), 188 * 4.95, 7.0);
    EXPECT_EQ(decoder.counters(0).frames, generator.framesSent());
    EXPECT_EQ(run.stopNow(), CANFrameSource::Outcome::Stopped);
    for (int i = 0; i < data.signalCount(); ++i) {
        const CANSignalNode* s = data.signalById(i);
        const DbcSignal& d = s->definition();
        double v = 0;
        if (!decoder.latestValue(i, &v)) {
            // Only a value the multiplexer does not select in the last frame may be missing.
            EXPECT_NE(d.muxSwitch, -1) << s->name().constData();
            continue;
        }
        if (d.maximum > d.minimum) {
            EXPECT_GE(v, d.minimum - std::fabs(d.factor)) << s->name().constData();
            EXPECT_LE(v, d.maximum + std::fabs(d.factor)) << s->name().constData();
        }
    }
    EXPECT_EQ(decoder.counters(0).unknownIds, 0u);
    EXPECT_EQ(decoder.counters(0).shortFrames, 0u);
}

TEST(CANTrafficGenerator, ValuesMoveSmoothly)
{
    CANData data;
    ASSERT_TRUE(data.addBusFromFile(sampleCatalogue()));
    const CANMessageNode* engine = data.findMessage(data.busAt(0), QStringLiteral("EngineData"));
    const SignalLayout& rpm = engine->signalAt(0)->definition().layout;
    CanFrame a;
    double largest = 0, previous = -1;
    for (int step = 0; step < 1000; ++step) {
        CANTrafficGenerator::makeFrame(*engine, step * 0.01, uint64_t(step), a);
        const double value = double(rpm.extract(a.data)) * 0.25;
        if (previous >= 0)
            largest = std::max(largest, std::fabs(value - previous));
        previous = value;
    }
    // 10 ms apart a wave of at least 3 s over 0..8000 rpm moves at most ~84 rpm.
    EXPECT_LT(largest, 100.0);
    EXPECT_GT(largest, 0.0);
}

} // namespace
