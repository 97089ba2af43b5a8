#include "CANCommandLine.h"

#include "../../framework/can/tests/CANTestSupport.h"
#include "can/CANData.h"
#include "can/CANDataManager.h"
#include "core/Logger.h"

#include <QCommandLineParser>
#include <QElapsedTimer>

#include <memory>
#include <thread>

namespace {

QCommandLineParser* parserFor(const QStringList& arguments)
{
    auto* parser = new QCommandLineParser;
    CANCommandLine::addOptions(*parser);
    EXPECT_TRUE(parser->parse(QStringList{QStringLiteral("orvane-bench")} + arguments)) << parser->errorText().toStdString();
    return parser;
}

TEST(CANCommandLine, WithoutOptionsTheSampleCatalogueAndGeneratorRun)
{
    std::unique_ptr<QCommandLineParser> parser(parserFor({}));
    QString error;
    ASSERT_TRUE(CANCommandLine::apply(*parser, sourceDir() + QStringLiteral("/assets"), &error)) << error.toStdString();
    EXPECT_TRUE(CANDataManager::findBus(QStringLiteral("sample")));
    EXPECT_EQ(CANDataManager::sourceCount(), 1);
    CANSignalNode* speed = CANDataManager::findSignal(
        CANDataManager::findMessage(CANDataManager::findBus(QStringLiteral("sample")), QStringLiteral("VehicleSpeed")),
        QStringLiteral("Speed"));
    ASSERT_TRUE(speed);
    CANDataManager::startCapture(speed);
    QElapsedTimer timer;
    timer.start();
    // The generator's first frame comes within a cycle; only a failure waits the whole time.
    while (CANDataManager::recentSignalValueAsString(speed->id(), 0, 2, QStringLiteral("--")) == QStringLiteral("--")
        && timer.elapsed() < 20000)
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    EXPECT_NE(CANDataManager::recentSignalValueAsString(speed->id(), 0, 2, QStringLiteral("--")), QStringLiteral("--"));
    CANDataManager::removeSources();
}

TEST(CANCommandLine, NamedCatalogueAndLogReplayedAsFastAsPossible)
{
    std::unique_ptr<QCommandLineParser> parser(parserFor({QStringLiteral("--dbc"), QStringLiteral("PT=") + sampleCatalogue(),
        QStringLiteral("--can-log"), sampleLog(), QStringLiteral("--can-speed"), QStringLiteral("max"),
        QStringLiteral("--can-if"), QStringLiteral("nosuchcan7=PT")}));
    CapturingLogSink log;
    QString error;
    ASSERT_TRUE(CANCommandLine::apply(*parser, QStringLiteral("/nowhere"), &error)) << error.toStdString();
    EXPECT_EQ(CANDataManager::sourceCount(), 2);
    ASSERT_TRUE(CANDataManager::waitForSources(5000));
    // 560 frames in the sample log, all on the one bus.
    EXPECT_EQ(CANDataManager::busCounters(0).frames, 560u);
    EXPECT_EQ(CANDataManager::busCounters(0).unknownIds, 0u);
    EXPECT_TRUE(log.lines().filter(QStringLiteral("ERROR CAN interface nosuchcan7 cannot be read")).size() == 1);
    // Retrying the interface stays quiet while its failure does not change.
    CANDataManager::ensureCaptureIsActive();
    ASSERT_TRUE(CANDataManager::waitForSources(5000));
    EXPECT_EQ(log.lines().filter(QStringLiteral("ERROR CAN interface nosuchcan7")).size(), 1);
    CANDataManager::removeSources();
}

TEST(CANCommandLine, RefusesUnusableValues)
{
    const QList<QStringList> bad{
        {QStringLiteral("--can-log"), QStringLiteral("x.log"), QStringLiteral("--can-speed"), QStringLiteral("fast")},
        {QStringLiteral("--can-log"), QStringLiteral("x.log"), QStringLiteral("--can-speed"), QStringLiteral("-1")},
        {QStringLiteral("--can-loop")},
        {QStringLiteral("--dbc"), QStringLiteral("PT=")},
        {QStringLiteral("--can-if"), QStringLiteral("=PT")},
    };
    for (const QStringList& arguments : bad) {
        std::unique_ptr<QCommandLineParser> parser(parserFor(arguments));
        QString error;
        EXPECT_FALSE(CANCommandLine::apply(*parser, QStringLiteral("/nowhere"), &error)) << arguments.join(' ').toStdString();
        EXPECT_FALSE(error.isEmpty());
    }
}

} // namespace
