// The catalogue changing under running capture: six buses replay while buses are added and
// other catalogues loaded, and the values flow again after every change.
#include "CANTestSupport.h"
#include "StressRounds.h"

#include "can/CANData.h"
#include "can/CANDataManager.h"
#include "can/CANDecoder.h"
#include "core/Logger.h"

#include <QFile>
#include <QTemporaryDir>

#include <algorithm>

namespace {

constexpr int ReplayedBuses = 6;

QString busName(int bus) { return QStringLiteral("B%1").arg(bus); }

// The sample catalogue once per replayed bus, in this order or reversed: a bus's frames must
// find it by name wherever it stands.
QStringList busArguments(bool reversed)
{
    QStringList arguments;
    for (int b = 0; b < ReplayedBuses; ++b)
        arguments << busName(b) + QLatin1Char('=') + sampleCatalogue();
    if (reversed)
        std::reverse(arguments.begin(), arguments.end());
    return arguments;
}

CANSignalNode* speedOn(const QString& bus)
{
    CANMessageNode* message = CANDataManager::findMessage(CANDataManager::findBus(bus), QStringLiteral("VehicleSpeed"));
    return CANDataManager::findSignal(message, QStringLiteral("Speed"));
}

QByteArray extraBus()
{
    return "BO_ 1792 Extra: 1 X\n SG_ Level : 0|8@1+ (1,0) [0|255] \"\" X\n";
}

QString writeLog(const QTemporaryDir& dir, const QString& name, const QByteArray& text)
{
    QFile f(dir.filePath(name));
    EXPECT_TRUE(f.open(QIODevice::WriteOnly));
    f.write(text);
    return f.fileName();
}

CanFrame speedFrame()
{
    CanFrame f;
    f.clearData();
    f.id = 0x100;
    f.len = 8;
    f.data[0] = 0x10;
    f.data[1] = 0x27;
    return f;
}

class CatalogueChangeWhileReplaying : public testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(CANDataManager::loadCatalogue(busArguments(false)));
        // Each bus's log comes from the interface named after it: a speed frame every 10 ms,
        // looped.
        for (int b = 0; b < ReplayedBuses; ++b) {
            QByteArray text;
            for (int i = 0; i < 50; ++i)
                text += QStringLiteral("(%1) %2 100#%3\n")
                            .arg(100.0 + i * 0.01, 0, 'f', 2)
                            .arg(busName(b))
                            .arg(i + 1, 16, 16, QLatin1Char('0'))
                            .toLatin1();
            CANDataManager::addLogReplay(writeLog(dir, busName(b) + QStringLiteral(".log"), text), 1.0, true);
        }
        CANDataManager::startSources();
        captureSpeeds();
    }
    void TearDown() override { CANDataManager::removeSources(); }

    static void captureSpeeds()
    {
        for (int b = 0; b < ReplayedBuses; ++b)
            CANDataManager::startCapture(speedOn(busName(b)));
    }
    // Frames counted on every replayed bus, and every bus's speed shown, since the last change.
    static bool everyBusFlows()
    {
        for (int b = 0; b < ReplayedBuses; ++b) {
            const CANSignalNode* speed = speedOn(busName(b));
            double value = 0;
            if (CANDataManager::busCounters(speed->bus()->index()).frames == 0
                || !CANDataManager::recentSignalValue(speed->id(), &value))
                return false;
        }
        return true;
    }

    QTemporaryDir dir;
};

TEST_F(CatalogueChangeWhileReplaying, ValuesFlowAgainAfterEveryAddedBusAndLoadedCatalogue)
{
    const int rounds = testing_support::StressRounds();
    for (int round = 0; round < rounds; ++round) {
        ASSERT_TRUE(eventually(everyBusFlows)) << "round " << round << ", before the change";
        if (round % 2 == 0) {
            ASSERT_TRUE(CANDataManager::addBusFromText(extraBus(), QStringLiteral("X%1").arg(round), QStringLiteral("extra")));
            // The replayed buses are the same nodes: what the viewer picked stays captured.
            for (int b = 0; b < ReplayedBuses; ++b)
                EXPECT_TRUE(CANDataManager::decoder()->isCaptured(speedOn(busName(b))->id())) << "round " << round;
        } else {
            ASSERT_TRUE(CANDataManager::loadCatalogue(busArguments(round % 4 == 1)));
            captureSpeeds();
        }
        ASSERT_TRUE(eventually(everyBusFlows)) << "round " << round << ": capture did not resume";
    }
}

// Two viewers picked the speed. A bus the catalogue refuses changes nothing; a grown catalogue
// keeps both picks, and frames of the picked message are still decoded; a loaded catalogue has
// new nodes and starts with none picked.
TEST(CANDataManager, CapturesFollowTheirNodesAcrossCatalogueChanges)
{
    ASSERT_TRUE(CANDataManager::loadCatalogue({QStringLiteral("PT=") + sampleCatalogue()}));
    CANSignalNode* speed = speedOn(QStringLiteral("PT"));
    ASSERT_TRUE(speed);
    CANDataManager::startCapture(speed);
    CANDataManager::startCapture(speed);
    const CANDecoder* before = CANDataManager::decoder();
    EXPECT_FALSE(CANDataManager::addBusFromText(extraBus(), QStringLiteral("PT"), QStringLiteral("again")));
    EXPECT_EQ(CANDataManager::decoder(), before);

    ASSERT_TRUE(CANDataManager::addBusFromText(extraBus(), QStringLiteral("X"), QStringLiteral("extra")));
    EXPECT_EQ(CANDataManager::catalogue().busCount(), 2);
    EXPECT_EQ(speedOn(QStringLiteral("PT")), speed);
    CANDataManager::stopCapture(speed);
    EXPECT_TRUE(CANDataManager::decoder()->isCaptured(speed->id()));
    CANDataManager::decoder()->decode(speedFrame(), 0);
    EXPECT_EQ(CANDataManager::recentSignalValueAsString(speed->id(), 0, 1, QStringLiteral("--")), QStringLiteral("100.0"));
    CANDataManager::stopCapture(speed);
    EXPECT_FALSE(CANDataManager::decoder()->isCaptured(speed->id()));

    CANDataManager::startCapture(speed);
    ASSERT_TRUE(CANDataManager::loadCatalogue({QStringLiteral("PT=") + sampleCatalogue()}));
    EXPECT_FALSE(CANDataManager::decoder()->isCaptured(speedOn(QStringLiteral("PT"))->id()));
}

// Only what ran is started again: a log that ended, a log that could not be read and a source
// never started stay as they were, and a mapping to a bus that is gone is reported.
TEST(CANDataManager, ACatalogueChangeRestartsOnlyTheSourcesThatWereRunning)
{
    QTemporaryDir dir;
    ASSERT_TRUE(CANDataManager::loadCatalogue({QStringLiteral("PT=") + sampleCatalogue()}));
    ASSERT_TRUE(CANDataManager::mapInterface(QStringLiteral("can0"), QStringLiteral("PT")));
    const QByteArray speed = "(1.0) can0 100#1027000000000000\n";
    CANDataManager::addLogReplay(writeLog(dir, QStringLiteral("once.log"), speed), 0, false);
    CANDataManager::addLogReplay(dir.filePath(QStringLiteral("missing.log")), 0, false);
    CANDataManager::startSources();
    ASSERT_TRUE(CANDataManager::waitForSources(60000));
    QByteArray gears;
    for (int i = 0; i < 10; ++i)
        gears += "(" + QByteArray::number(1.0 + i * 0.01, 'f', 2) + ") can0 190#0" + QByteArray::number(i % 4)
                 + "000000\n";
    CANDataManager::addLogReplay(writeLog(dir, QStringLiteral("loop.log"), gears), 1.0, true);
    CANDataManager::ensureCaptureIsActive();
    CANDataManager::addLogReplay(writeLog(dir, QStringLiteral("later.log"), speed), 0, false);

    CapturingLogSink log;
    ASSERT_TRUE(CANDataManager::loadCatalogue({QStringLiteral("CH=") + sampleCatalogue()}));
    EXPECT_TRUE(log.contains(QStringLiteral("INFO"),
                             QStringLiteral("CAN capture restarted on the changed catalogue: 1 of 4 sources")));
    EXPECT_TRUE(log.contains(QStringLiteral("WARN"),
                             QStringLiteral("CAN interface can0 is mapped to bus PT which the catalogue no longer has")));
    CANSignalNode* gear = CANDataManager::findSignal(
        CANDataManager::findMessage(CANDataManager::findBus(QStringLiteral("CH")), QStringLiteral("Transmission")),
        QStringLiteral("Gear"));
    ASSERT_TRUE(gear);
    CANDataManager::startCapture(gear);
    double value = 0;
    EXPECT_TRUE(eventually([&] { return CANDataManager::recentSignalValue(gear->id(), &value); }));
    CANDataManager::removeSources();
}

} // namespace
