#include "CANTestSupport.h"
#include "VirtualClock.h"

#include "can/CANData.h"
#include "can/CANDataManager.h"
#include "can/CANDecoder.h"
#include "core/Logger.h"

#include <QFile>
#include <QTemporaryDir>

#include <sys/stat.h>


namespace {

CanFrame frameOf(uint32_t id, std::initializer_list<uint8_t> bytes, bool extended = false)
{
    CanFrame f;
    f.clearData();
    f.id = id;
    f.flags = extended ? CanFrame::Extended : 0;
    f.len = uint8_t(bytes.size());
    int i = 0;
    for (uint8_t b : bytes)
        f.data[i++] = b;
    return f;
}

class SampleCatalogue : public testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(data.addBusFromFile(sampleCatalogue()));
        decoder = std::make_unique<CANDecoder>(std::make_shared<const CANData>(data));
    }
    CANSignalNode* node(const char* message, const char* signal)
    {
        return data.findSignal(data.findMessage(data.findBus(QStringLiteral("sample")), QString::fromLatin1(message)),
            QString::fromLatin1(signal));
    }
    int id(const char* message, const char* signal)
    {
        CANSignalNode* n = node(message, signal);
        EXPECT_TRUE(n) << message << "." << signal;
        return n ? n->id() : -1;
    }
    QString value(int signalId, int decimals = 3) { return decoder->formattedValue(signalId, decimals, QStringLiteral("--")); }

    CANData data;
    std::unique_ptr<CANDecoder> decoder;
};

TEST_F(SampleCatalogue, KeepsFileOrderLinksAndUniqueIdsAndFindsExactNamesOnly)
{
    ASSERT_EQ(data.busCount(), 1);
    CANBusNode* bus = data.busAt(0);
    EXPECT_EQ(bus->name(), "sample");
    const QList<QByteArray> expected{"VehicleSpeed", "EngineData", "Transmission", "BatteryStatus", "ClimateSensors",
        "TirePressure", "Position"};  // the pseudo message is not among them
    ASSERT_EQ(bus->messageCount(), expected.size());
    int nextId = 0;
    for (int m = 0; m < bus->messageCount(); ++m) {
        CANMessageNode* message = bus->messageAt(m);
        EXPECT_EQ(message->name(), expected[m]);
        EXPECT_EQ(message->bus(), bus);
        for (int s = 0; s < message->signalCount(); ++s) {
            CANSignalNode* signal = message->signalAt(s);
            EXPECT_EQ(signal->id(), nextId++);
            EXPECT_EQ(signal->message(), message);
            EXPECT_EQ(data.signalById(signal->id()), signal);
        }
    }
    EXPECT_EQ(data.signalCount(), nextId);

    EXPECT_TRUE(node("TirePressure", "TirePressureFrontLeftWheelMeasuredInBar"));  // the long name
    EXPECT_FALSE(node("TirePressure", "TirePressureFrontLeft"));
    EXPECT_FALSE(node("transmission", "Gear"));  // case matters
    EXPECT_FALSE(data.findBus(QStringLiteral("other")));
    EXPECT_FALSE(data.findMessage(nullptr, QStringLiteral("Transmission")));
    EXPECT_FALSE(data.findSignal(nullptr, QStringLiteral("Gear")));
    EXPECT_EQ(node("TirePressure", "TirePressureRearLeft")->message()->frameId(), 0x18FEF1FEu);
    EXPECT_TRUE(node("TirePressure", "TirePressureRearLeft")->message()->isExtended());
}

// Capture threads may still read the catalogue a bus was added to: the copy grows, the original
// stays as it was, and both hold the very same nodes.
TEST_F(SampleCatalogue, ACopyGrownByABusSharesEveryNodeAndLeavesTheOriginalAlone)
{
    CANData grown = data;
    ASSERT_TRUE(grown.addBusFromText("BO_ 7 Extra: 1 X\n SG_ Level : 0|8@1+ (1,0) [0|255] \"\" X\n", "extra", "text"));
    EXPECT_EQ(data.busCount(), 1);
    EXPECT_FALSE(data.findBus(QStringLiteral("extra")));
    EXPECT_EQ(data.signalById(data.signalCount()), nullptr);
    ASSERT_EQ(grown.busCount(), 2);
    EXPECT_EQ(grown.findBus(QStringLiteral("sample")), data.busAt(0));
    for (int id = 0; id < data.signalCount(); ++id)
        EXPECT_EQ(grown.signalById(id), data.signalById(id)) << id;
    const CANSignalNode* level = grown.signalById(data.signalCount());
    ASSERT_TRUE(level);
    EXPECT_EQ(level->bus(), grown.busAt(1));
    EXPECT_EQ(level->message()->globalIndex(), data.messageCount());
}

TEST_F(SampleCatalogue, HighPrecisionMeansFloatsAndFactorsFinerThanAThousandth)
{
    EXPECT_TRUE(data.isHighPrecision(QStringLiteral("BatteryVoltage")));  // float
    EXPECT_TRUE(data.isHighPrecision(QStringLiteral("Latitude")));  // double
    EXPECT_FALSE(data.isHighPrecision(QStringLiteral("BatteryCurrent")));  // exactly 0.001
    EXPECT_FALSE(data.isHighPrecision(QStringLiteral("Speed")));
    EXPECT_FALSE(data.isHighPrecision(QStringLiteral("NoSuchSignal")));
    CANData fine;
    ASSERT_TRUE(fine.addBusFromText("BO_ 1 M: 8 X\n SG_ Fine : 0|16@1+ (0.0005,0) [0|0] \"\" X\n", "b", "text"));
    EXPECT_TRUE(fine.isHighPrecision(QStringLiteral("Fine")));
}

TEST_F(SampleCatalogue, CapturedValuesShowWithLabelsAndDecimals)
{
    const int gear = id("Transmission", "Gear"), lever = id("Transmission", "GearLeverPosition"),
              temp = id("Transmission", "TransmissionTemp");
    decoder->capture(gear);
    decoder->capture(lever);
    decoder->capture(temp);
    decoder->decode(frameOf(400, {0x3E, 0x7D, 0, 0}), 0);  // gear 14, lever 3, 0x7D - 40
    EXPECT_EQ(value(gear), QStringLiteral("14 (Reverse)"));
    EXPECT_EQ(value(lever), QStringLiteral("3 (DRIVE)"));
    EXPECT_EQ(value(temp, 1), QStringLiteral("85.0"));
    decoder->decode(frameOf(400, {0x07, 0, 0, 0}), 0);  // gear 7 has no label
    EXPECT_EQ(value(gear, 2), QStringLiteral("7.00"));

    const int current = id("BatteryStatus", "BatteryCurrent"), voltage = id("BatteryStatus", "BatteryVoltage");
    decoder->capture(current);
    decoder->capture(voltage);
    decoder->decode(frameOf(512, {0x66, 0x66, 0x4A, 0x41, 0x98, 0xEF, 0, 0}), 0);  // 12.65f, -4200 * 0.001
    EXPECT_EQ(value(voltage, 7), QStringLiteral("12.6499996"));
    EXPECT_EQ(value(current, 3), QStringLiteral("-4.200"));
}

TEST_F(SampleCatalogue, ReleasingAndCapturingAgainForgetsTheOldValue)
{
    const int speed = id("VehicleSpeed", "Speed");
    decoder->capture(speed);
    decoder->capture(speed);
    decoder->decode(frameOf(256, {0x10, 0x27, 0, 0, 0, 0, 0, 0}), 0);
    decoder->release(speed);
    EXPECT_TRUE(decoder->isCaptured(speed));  // one capture is still held
    EXPECT_EQ(value(speed, 2), QStringLiteral("100.00"));
    decoder->release(speed);
    decoder->release(speed);  // one too many does no harm
    EXPECT_FALSE(decoder->isCaptured(speed));
    decoder->decode(frameOf(256, {0x20, 0x4E, 0, 0, 0, 0, 0, 0}), 0);
    decoder->capture(speed);
    EXPECT_EQ(value(speed), QStringLiteral("--"));
    decoder->decode(frameOf(256, {0x20, 0x4E, 0, 0, 0, 0, 0, 0}), 0);
    EXPECT_EQ(value(speed, 2), QStringLiteral("200.00"));
}

TEST_F(SampleCatalogue, MultiplexedSignalsHaveAValueOnlyWhileSelected)
{
    const int cabin = id("ClimateSensors", "CabinTemp"), outside = id("ClimateSensors", "OutsideTemp"),
              humidity = id("ClimateSensors", "Humidity");
    for (int s : {cabin, outside, humidity})
        decoder->capture(s);
    decoder->decode(frameOf(1024, {0, 0xD7, 0x00, 0, 0, 0, 0, 0}), 0);  // cabin 21.5
    EXPECT_EQ(value(cabin, 1), QStringLiteral("21.5"));
    EXPECT_EQ(value(outside), QStringLiteral("--"));
    decoder->decode(frameOf(1024, {1, 0xDD, 0xFF, 0, 0, 0, 0, 0}), 0);  // outside -3.5
    EXPECT_EQ(value(cabin), QStringLiteral("--"));
    EXPECT_EQ(value(outside, 1), QStringLiteral("-3.5"));
    decoder->decode(frameOf(1024, {3, 0x11, 0x11, 0, 0, 0, 0, 0}), 0);  // selects nothing
    for (int s : {cabin, outside, humidity})
        EXPECT_EQ(value(s), QStringLiteral("--"));
    decoder->decode(frameOf(1024, {0, 0xD7, 0x00, 0, 0, 0, 0, 0}), 0);
    decoder->decode(frameOf(1024, {0, 0x11}), 0);  // selects the cabin value but is too short to carry it
    EXPECT_EQ(value(cabin, 1), QStringLiteral("21.5"));
}

TEST(CANDecoder, ExtendedMultiplexingFollowsTheWholeChain)
{
    CANData data;
    ASSERT_TRUE(data.addBusFromText(R"(BO_ 5 Chain: 8 X
 SG_ Top M : 0|4@1+ (1,0) [0|0] "" X
 SG_ Middle m1M : 4|4@1+ (1,0) [0|0] "" X
 SG_ Leaf m2 : 8|8@1+ (1,0) [0|0] "" X
SG_MUL_VAL_ 5 Middle Top 1-1;
SG_MUL_VAL_ 5 Leaf Middle 2-3;
)",
        "b", "text"));
    CANDecoder d(std::make_shared<const CANData>(data));
    d.capture(2);
    struct {
        uint8_t selectors, leaf;
        bool taken;
    } frames[] = {{0x21, 10, true}, {0x20, 11, false}, {0x31, 12, true}, {0x41, 13, false}, {0x32, 14, false}};
    for (const auto& f : frames) {
        d.decode(frameOf(5, {f.selectors, f.leaf, 0, 0, 0, 0, 0, 0}), 0);
        EXPECT_EQ(d.formattedValue(2, 0, QStringLiteral("--")), f.taken ? QString::number(f.leaf) : QStringLiteral("--"))
            << int(f.selectors);
    }
}

// A frame too short for its whole message speaks for the signals it carries; the next whole
// frame speaks for all of them again.
TEST_F(SampleCatalogue, AShortFrameCountsForWhatItCarriesUntilTheNextWholeFrame)
{
    const int gear = id("Transmission", "Gear"), temp = id("Transmission", "TransmissionTemp"),
              sensor = id("ClimateSensors", "SensorIndex"), cabin = id("ClimateSensors", "CabinTemp");
    for (int s : {gear, temp, sensor, cabin})
        decoder->capture(s);
    decoder->decode(frameOf(400, {0x02}), 0);  // one byte of four: gear fits, temperature does not
    EXPECT_EQ(value(gear), QStringLiteral("2 (Second)"));
    EXPECT_EQ(value(temp), QStringLiteral("--"));
    decoder->decode(frameOf(400, {0x03, 0x7D, 0, 0}), 0);
    decoder->decode(frameOf(400, {0x02}), 0);
    EXPECT_EQ(value(gear), QStringLiteral("2 (Second)"));
    EXPECT_EQ(value(temp, 0), QStringLiteral("85"));
    decoder->decode(frameOf(400, {0x04, 0x80, 0, 0}), 0);
    EXPECT_EQ(value(gear), QStringLiteral("4 (Fourth)"));
    EXPECT_EQ(value(temp, 0), QStringLiteral("88"));

    // The short frame moves the multiplexer on: the value it no longer selects is gone, though
    // the frame is too short to carry what it selects now.
    decoder->decode(frameOf(1024, {0, 0xD7, 0x00, 0, 0, 0, 0, 0}), 0);
    decoder->decode(frameOf(1024, {1}), 0);
    EXPECT_EQ(value(sensor), QStringLiteral("1 (Outside)"));
    EXPECT_EQ(value(cabin, 1), QStringLiteral("21.5"));  // not carried: what it had

    decoder->decode(frameOf(0x7FF, {1, 2}), 0);
    decoder->decode(frameOf(0x18FEF1FE, {1, 2, 3, 4, 5, 6, 7, 8}), 0);  // the tyre id, but not extended
    decoder->decode(frameOf(0x18FEF1FE, {1, 2, 3, 4, 5, 6, 7, 8}, true), 0);
    const CANDecoder::Counters c = decoder->counters(0);
    EXPECT_EQ(c.frames, 9u);
    EXPECT_EQ(c.unknownIds, 2u);
    EXPECT_EQ(c.shortFrames, 3u);
}

// The decoder keeps whole frames: a signal captured after its message's latest frame shows
// nothing from it, though that frame carries it.
TEST_F(SampleCatalogue, ASignalCapturedLaterShowsNothingFromTheFrameBefore)
{
    const int gear = id("Transmission", "Gear"), temp = id("Transmission", "TransmissionTemp");
    decoder->capture(gear);
    decoder->decode(frameOf(400, {0x03, 0x7D, 0, 0}), 0);
    decoder->capture(temp);
    EXPECT_EQ(value(temp), QStringLiteral("--"));
    EXPECT_EQ(value(gear), QStringLiteral("3 (Third)"));
    decoder->decode(frameOf(400, {0x03, 0x7E, 0, 0}), 0);
    EXPECT_EQ(value(temp, 0), QStringLiteral("86"));
    decoder->clearValuesAndCounters();
    EXPECT_EQ(value(gear), QStringLiteral("--"));
    EXPECT_EQ(value(temp), QStringLiteral("--"));
}

TEST_F(SampleCatalogue, FramesPerSecondAreMeasuredBetweenReadings)
{
    using namespace std::chrono_literals;
    VirtualClock clock;
    CANDecoder timed(std::make_shared<const CANData>(data), clock);
    EXPECT_EQ(timed.counters(0).framesPerSecond, 0.0);  // the first reading starts the count
    for (int i = 0; i < 500; ++i)
        timed.decode(frameOf(256, {0, 0, 0, 0, 0, 0, 0, 0}), 0);
    clock.advance(999ms);
    EXPECT_EQ(timed.counters(0).framesPerSecond, 0.0);  // not a second yet
    clock.advance(1ms);
    EXPECT_EQ(timed.counters(0).framesPerSecond, 500.0);
    for (int i = 0; i < 300; ++i)
        timed.decode(frameOf(256, {0, 0, 0, 0, 0, 0, 0, 0}), 0);
    clock.advance(1500ms);
    EXPECT_EQ(timed.counters(0).framesPerSecond, 200.0);
    clock.advance(500ms);
    EXPECT_EQ(timed.counters(0).framesPerSecond, 200.0);  // held until the next second is over
    clock.advance(500ms);
    EXPECT_EQ(timed.counters(0).framesPerSecond, 0.0);
}

TEST(CANDecoder, UnroutedFramesGoToTheFirstBusThatKnowsThem)
{
    CANData data;
    ASSERT_TRUE(data.addBusFromText("BO_ 1 A: 1 X\n SG_ S : 0|8@1+ (1,0) [0|0] \"\" X\n", "one", "a"));
    ASSERT_TRUE(data.addBusFromText("BO_ 2 B: 1 X\n SG_ T : 0|8@1+ (1,0) [0|0] \"\" X\n", "two", "b"));
    CANDecoder d(std::make_shared<const CANData>(data));
    d.capture(1);
    d.decode(frameOf(2, {42}), CANDecoder::Unrouted);
    d.decode(frameOf(3, {42}), CANDecoder::Unrouted);
    EXPECT_EQ(d.formattedValue(1, 0, QStringLiteral("--")), QStringLiteral("42"));
    EXPECT_EQ(d.counters(1).frames, 1u);
    EXPECT_EQ(d.counters(0).frames, 0u);
    EXPECT_EQ(d.counters(CANDecoder::Unrouted).unknownIds, 1u);
}

TEST(CANData, BusNamesComeFromTheFileOrTheArgument)
{
    QString bus, path;
    CANData::splitBusArgument(QStringLiteral("PT=/x/y.dbc"), &bus, &path);
    EXPECT_EQ(bus, QStringLiteral("PT"));
    EXPECT_EQ(path, QStringLiteral("/x/y.dbc"));
    CANData::splitBusArgument(QStringLiteral("/odd=dir/y.dbc"), &bus, &path);
    EXPECT_TRUE(bus.isEmpty());
    EXPECT_EQ(path, QStringLiteral("/odd=dir/y.dbc"));

    CANData data;
    CapturingLogSink log;
    EXPECT_TRUE(data.addBusFromFile(sampleCatalogue(), QStringLiteral("Chassis")));
    EXPECT_FALSE(data.addBusFromFile(sampleCatalogue(), QStringLiteral("Chassis")));
    EXPECT_TRUE(log.contains(QStringLiteral("ERROR"),
        QStringLiteral("CAN bus Chassis is already loaded; %1 skipped").arg(sampleCatalogue())));
    EXPECT_EQ(data.busCount(), 1);
    EXPECT_TRUE(data.findBus(QStringLiteral("Chassis")));
}

TEST(CANData, TextInCp1252OrUtf8BecomesTheSameCharacters)
{
    CANData data;
    ASSERT_TRUE(data.addBusFromText("BO_ 1 M: 8 X\n SG_ A : 0|8@1+ (1,0) [0|0] \"\xB0" "C\" X\n"
                                    " SG_ B : 8|8@1+ (1,0) [0|0] \"\xC2\xB0" "C\" X\n"
                                    "VAL_ 1 A 1 \"gr\xFC" "n\" 2 \"\xE2\x80\x9Cquoted\xE2\x80\x9D\";\n",
        "b", "text"));
    CANMessageNode* m = data.busAt(0)->messageAt(0);
    EXPECT_EQ(m->signalAt(0)->unit(), QStringLiteral("\u00B0C"));
    EXPECT_EQ(m->signalAt(1)->unit(), QStringLiteral("\u00B0C"));
    EXPECT_EQ(m->signalAt(0)->labelFor(1), QStringLiteral("gr\u00FCn"));
    EXPECT_EQ(m->signalAt(0)->labelFor(2), QStringLiteral("\u201Cquoted\u201D"));
}

// A missing file, a binary file and a file of prose each get one clear line; the good file
// among them still loads and decodes.
TEST(CANDataManager, BadCatalogueFilesAreLoggedAndTheRestWorks)
{
    QTemporaryDir dir;
    const QString binary = dir.filePath(QStringLiteral("binary.dbc"));
    const QString prose = dir.filePath(QStringLiteral("prose.dbc"));
    {
        QFile f(binary);
        ASSERT_TRUE(f.open(QIODevice::WriteOnly));
        QByteArray chunk("\x7F" "ELF", 4);
        chunk.append(QByteArray(12, '\0'));
        f.write(chunk.repeated(64));
        QFile p(prose);
        ASSERT_TRUE(p.open(QIODevice::WriteOnly));
        p.write("Dear reader,\nthis is not a catalogue.\n");
    }
    const QString missing = dir.filePath(QStringLiteral("missing.dbc"));
    CapturingLogSink log;
    EXPECT_TRUE(CANDataManager::loadCatalogue({missing, binary, QStringLiteral("PT=") + sampleCatalogue(), prose}));
    EXPECT_TRUE(log.contains(QStringLiteral("ERROR"),
        QStringLiteral("CAN catalogue %1 cannot be read: No such file or directory").arg(missing)));
    EXPECT_TRUE(log.contains(QStringLiteral("ERROR"),
        QStringLiteral("CAN catalogue %1 not loaded: binary data, not a catalogue").arg(binary)));
    EXPECT_TRUE(log.contains(QStringLiteral("WARN"), QStringLiteral("%1:1: unknown statement 'Dear' skipped").arg(prose)));
    EXPECT_TRUE(log.contains(QStringLiteral("ERROR"), QStringLiteral("CAN catalogue %1 holds no messages; not loaded").arg(prose)));
    ASSERT_EQ(CANDataManager::catalogue().busCount(), 1);
    CANSignalNode* speed = CANDataManager::findSignal(
        CANDataManager::findMessage(CANDataManager::findBus(QStringLiteral("PT")), QStringLiteral("VehicleSpeed")),
        QStringLiteral("Speed"));
    ASSERT_TRUE(speed);
    CANDataManager::startCapture(speed);
    EXPECT_EQ(CANDataManager::recentSignalValueAsString(speed->id(), 0, 3, QStringLiteral("--")), QStringLiteral("--"));
    CANDataManager::decoder()->decode(frameOf(256, {0x10, 0x27, 0, 0, 0, 0, 0, 0}), 0);
    EXPECT_EQ(CANDataManager::recentSignalValueAsString(speed->id(), 0, 3, QStringLiteral("--")), QStringLiteral("100.000"));
    EXPECT_EQ(CANDataManager::recentSignalValueAsString(speed->id(), 1, 3, QStringLiteral("--")), QStringLiteral("--"));
    EXPECT_TRUE(CANDataManager::isHighPrecision(QStringLiteral("Latitude")));
    CANDataManager::stopCapture(speed);
    EXPECT_FALSE(CANDataManager::decoder()->isCaptured(speed->id()));
}

TEST(CANData, EmptyPipesAndDevicesAreNoCatalogue)
{
    QTemporaryDir dir;
    const QString empty = dir.filePath(QStringLiteral("empty.dbc"));
    const QString comments = dir.filePath(QStringLiteral("comments.dbc"));
    const QString fifo = dir.filePath(QStringLiteral("fifo.dbc"));
    {
        QFile e(empty);
        ASSERT_TRUE(e.open(QIODevice::WriteOnly));
        QFile c(comments);
        ASSERT_TRUE(c.open(QIODevice::WriteOnly));
        c.write("VERSION \"\"\n\nNS_ :\n\nBS_:\n\nBU_: ECU\n");
    }
    ASSERT_EQ(::mkfifo(QFile::encodeName(fifo).constData(), 0600), 0);
    CapturingLogSink log;
    CANData data;
    EXPECT_TRUE(data.addBusFromFile(empty));
    EXPECT_TRUE(log.contains(QStringLiteral("WARN"), QStringLiteral("CAN catalogue %1 holds no messages: bus empty decodes nothing").arg(empty)));
    EXPECT_TRUE(data.addBusFromFile(comments));
    EXPECT_TRUE(log.contains(QStringLiteral("WARN"), QStringLiteral("CAN catalogue %1 holds no messages: bus comments decodes nothing").arg(comments)));
    // No writer will ever come: reading must not wait for one.
    EXPECT_FALSE(data.addBusFromFile(fifo));
    EXPECT_TRUE(log.contains(QStringLiteral("ERROR"), QStringLiteral("CAN catalogue %1 is not a regular file; not read").arg(fifo)));
    EXPECT_FALSE(data.addBusFromFile(QStringLiteral("/dev/zero"), QStringLiteral("zero")));
    EXPECT_FALSE(data.addBusFromFile(dir.path(), QStringLiteral("folder")));
    EXPECT_EQ(data.busCount(), 2);
}

// A bench that switches to another log starts from nothing: no old values, no old counts,
// but the signals the viewer captures are still captured.
TEST(CANDataManager, SwitchingToAnotherLogForgetsValuesAndCountersButKeepsCaptures)
{
    QTemporaryDir dir;
    const auto log = [&](const QString& name, const QByteArray& text) {
        QFile f(dir.filePath(name));
        EXPECT_TRUE(f.open(QIODevice::WriteOnly));
        f.write(text);
        return f.fileName();
    };
    const QString speedAndStranger = log("first.log", "(1.0) can0 100#1027000000000000\n(1.1) can0 7FF#01\n");
    const QString strangerOnly = log("second.log", "(1.0) can0 7FE#01\n");
    const QString speedOnly = log("third.log", "(1.0) can0 100#204E000000000000\n");
    ASSERT_TRUE(CANDataManager::loadCatalogue({sampleCatalogue()}));
    CANSignalNode* speed = CANDataManager::findSignal(
        CANDataManager::findMessage(CANDataManager::findBus(QStringLiteral("sample")), QStringLiteral("VehicleSpeed")),
        QStringLiteral("Speed"));
    ASSERT_TRUE(speed);
    CANDataManager::startCapture(speed);
    const auto value = [&] { return CANDataManager::recentSignalValueAsString(speed->id(), 0, 1, QStringLiteral("--")); };

    CANDataManager::addLogReplay(speedAndStranger, 0, false);
    CANDataManager::startSources();
    ASSERT_TRUE(CANDataManager::waitForSources(5000));
    EXPECT_EQ(value(), QStringLiteral("100.0"));
    EXPECT_EQ(CANDataManager::busCounters(0).frames, 2u);

    CANDataManager::switchToLogReplay(strangerOnly, 0, false);
    ASSERT_TRUE(CANDataManager::waitForSources(5000));
    EXPECT_EQ(CANDataManager::sourceCount(), 1);
    EXPECT_EQ(value(), QStringLiteral("--"));
    EXPECT_EQ(CANDataManager::busCounters(0).frames, 1u);
    EXPECT_EQ(CANDataManager::busCounters(0).unknownIds, 1u);

    CANDataManager::switchToLogReplay(speedOnly, 0, false);
    ASSERT_TRUE(CANDataManager::waitForSources(5000));
    EXPECT_EQ(value(), QStringLiteral("200.0"));
    CANDataManager::removeSources();
}

} // namespace
