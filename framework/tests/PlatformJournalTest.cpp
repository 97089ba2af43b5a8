#include "core/Logger.h"
#include "views/CenterDisplay.h"
#include "services/CenterDisplayService.h"
#include "services/DisplayStateManager.h"
#include "services/EVLogService.h"
#include "services/NetManager.h"
#include "services/PlatformJournal.h"
#include "services/RadioServer.h"
#include "services/ServiceCallContext.h"
#include "TestSupport.h"

#include <QJsonArray>
#include <QSignalSpy>
#include <QThread>
#include <gtest/gtest.h>
#include <memory>
#include <vector>

namespace {

class JournalTest : public ::testing::Test {
protected:
    void SetUp() override { PlatformJournal::instance()->clear(); }
    static QStringList lines() { return PlatformJournal::instance()->lines(); }
};

} // namespace

TEST_F(JournalTest, OneTextFormAndOneJsonFormPerRequest)
{
    CapturingLogSink log;
    PlatformJournal::record("NetManager", "asyncResetModem");
    PlatformJournal::record("host-command", "arm-ecall", {"on"});
    PlatformJournal::record("Svc", "op", {"a b", "", "c"});
    EXPECT_EQ(lines(), QStringList({"NetManager.asyncResetModem()", "host-command.arm-ecall(on)", "Svc.op(a b, , c)"}));
    EXPECT_TRUE(log.contains("INFO", "Platform request: host-command.arm-ecall(on)")) << log.lines().join("\n").toStdString();

    const QList<PlatformRequest> requests = PlatformJournal::instance()->requests();
    ASSERT_EQ(requests.size(), 3);
    const QJsonObject json = requests[2].toJson();
    EXPECT_EQ(json["sequence"].toDouble(), double(requests[2].sequence));
    EXPECT_EQ(json["service"].toString(), "Svc");
    EXPECT_EQ(json["operation"].toString(), "op");
    EXPECT_EQ(json["arguments"].toArray().toVariantList(), QVariantList({"a b", "", "c"})); // the exact arguments, blanks kept
    EXPECT_EQ(json["text"].toString(), "Svc.op(a b, , c)");
    EXPECT_TRUE(QDateTime::fromString(json["time"].toString(), Qt::ISODateWithMs).isValid());

    // Numbering goes on across a clear: a reader that saw number n never sees it again.
    PlatformJournal::instance()->clear();
    EXPECT_FALSE(PlatformJournal::instance()->contains("NetManager.asyncResetModem()"));
    PlatformJournal::record("A", "after");
    EXPECT_EQ(PlatformJournal::instance()->requests().first().sequence, requests[2].sequence + 1);
}

TEST_F(JournalTest, RequestsFromOtherThreadsArriveOnTheJournalThreadInNumberOrder)
{
    QSignalSpy recorded(PlatformJournal::instance(), &PlatformJournal::recorded);
    constexpr int Threads = 4;
    constexpr int PerThread = 50;
    std::vector<std::unique_ptr<QThread>> threads;
    for (int t = 0; t < Threads; ++t) {
        threads.emplace_back(QThread::create([t] {
            for (int i = 0; i < PerThread; ++i)
                PlatformJournal::record(QStringLiteral("T%1").arg(t), "call", {QString::number(i)});
        }));
        threads.back()->start();
    }
    for (auto& thread : threads)
        thread->wait();
    EXPECT_TRUE(lines().isEmpty()); // queued to the journal's thread, not written from the workers
    QCoreApplication::processEvents();

    const QList<PlatformRequest> requests = PlatformJournal::instance()->requests();
    ASSERT_EQ(requests.size(), Threads * PerThread);
    EXPECT_EQ(recorded.count(), Threads * PerThread);
    QVector<int> next(Threads, 0);
    for (int i = 0; i < requests.size(); ++i) {
        if (i > 0) {
            EXPECT_EQ(requests[i].sequence, requests[i - 1].sequence + 1);
        }
        const int thread = requests[i].service.mid(1).toInt();
        // Each thread's requests keep the order it made them in.
        EXPECT_EQ(requests[i].arguments, QStringList(QString::number(next[thread]++)));
    }
}

TEST_F(JournalTest, EveryServiceOperationIsOneRecord)
{
    NetManager::proxy()->asyncResetModem(nullptr, false);
    NetManager::proxy()->asyncResetWifi("diagnostic page request", nullptr, false);
    RadioServer::proxy()->asyncFactoryReset(nullptr, true);
    ServiceCallContext context;
    CenterDisplayService::proxy()->clearChargingLocationPreferences(&context);
    EVLogService::proxy()->clearEnergyLog(&context);
    DisplayStateManager::instance()->requestPowerOff();
    theCenterDisplay->restart("manual");
    theCenterDisplay->restartInCustomerMode();
    EXPECT_EQ(lines(), QStringList({
                           "NetManager.asyncResetModem()",
                           "NetManager.asyncResetWifi(diagnostic page request)",
                           "RadioServer.asyncFactoryReset()",
                           "CenterDisplayService.clearChargingLocationPreferences()",
                           "EVLogService.clearEnergyLog()",
                           "DisplayStateManager.requestPowerOff()",
                           "CenterDisplay.restart(manual)",
                           "CenterDisplay.restartInCustomerMode()",
                       }));
    EXPECT_EQ(context.calls(), QStringList({"CenterDisplayService.clearChargingLocationPreferences()",
                                            "EVLogService.clearEnergyLog()"}));
}

TEST(ServiceCallContext, AnswersComeOnALaterTurnAndOnlyWhileWanted)
{
    ServiceCallContext kept;
    QSignalSpy answers(&kept, &ServiceCallContext::answerArrived);
    NetManager::proxy()->asyncResetModem(&kept, false);
    RadioServer::proxy()->asyncFactoryReset(&kept, /*noReply=*/true);
    EXPECT_TRUE(kept.answered().isEmpty()); // not while the caller is still in the call
    QCoreApplication::processEvents();
    EXPECT_EQ(kept.calls(), QStringList({"NetManager.asyncResetModem()", "RadioServer.asyncFactoryReset()"}));
    EXPECT_EQ(kept.answered(), QStringList({"NetManager.asyncResetModem()"}));
    ASSERT_EQ(answers.count(), 1);
    EXPECT_EQ(answers[0][0].toString(), "NetManager.asyncResetModem()");

    // The usual pattern: call, then let go at once.
    ServiceCallContext released;
    CenterDisplayService::proxy()->clearChargingLocationPreferences(&released);
    released.dispose();
    QCoreApplication::processEvents();
    EXPECT_TRUE(released.isDisposed());
    EXPECT_EQ(released.calls().size(), 1);
    EXPECT_TRUE(released.answered().isEmpty());

    // A context gone before its answer: the answer goes nowhere.
    {
        ServiceCallContext shortLived;
        EVLogService::proxy()->clearEnergyLog(&shortLived);
    }
    QCoreApplication::processEvents();
}

TEST(ServiceCallContext, CallInADisposedContextIsStillMadeAndWarned)
{
    CapturingLogSink log;
    ServiceCallContext context;
    context.dispose();
    PlatformJournal::instance()->clear();
    EVLogService::proxy()->clearEnergyLog(&context);
    QCoreApplication::processEvents();
    EXPECT_TRUE(PlatformJournal::instance()->contains("EVLogService.clearEnergyLog()"));
    EXPECT_TRUE(context.answered().isEmpty());
    EXPECT_TRUE(log.contains("WARN", "Service call EVLogService.clearEnergyLog() made in a disposed context; its answer is dropped"))
        << log.lines().join("\n").toStdString();
}
