#include "core/Logger.h"

#include <QObject>
#include <QThread>
#include <gtest/gtest.h>

TEST(Logger, ItemsAreJoinedByOneSpaceWithContextAndLevel)
{
    CapturingLogSink sink;
    QObject context;
    context.setObjectName(QStringLiteral("shell"));
    Logger(&context, "INFO") << "loaded" << 7 << "pages," << 2.5 << true << QStringLiteral("ok");
    Logger(nullptr, "WARN") << "";

    const QList<LogRecord> records = sink.records();
    ASSERT_EQ(records.size(), 2);
    EXPECT_EQ(records[0].level, "INFO");
    EXPECT_EQ(records[0].context, "QObject(shell)");
    EXPECT_EQ(records[0].message, "loaded 7 pages, 2.5 true ok");
    EXPECT_EQ(records[1].context, "");
    EXPECT_EQ(sink.lines().last(), "WARN ");
}

TEST(Logger, AssertNamesConditionMessageAndPlace)
{
    CapturingLogSink sink;
    int pages = 0;
    ORVANE_ASSERT(pages == 1, QStringLiteral("one page expected"));
    ORVANE_ASSERT(pages == 0, QStringLiteral("never logged"));

    ASSERT_EQ(sink.records().size(), 1);
    const LogRecord r = sink.records().first();
    EXPECT_EQ(r.level, "ERROR");
    EXPECT_TRUE(r.message.startsWith("ASSERT failed: pages == 1 - one page expected ("));
    EXPECT_TRUE(r.message.contains(QStringLiteral("LoggerTest.cpp:%1)").arg(__LINE__ - 7)));
}

TEST(Logger, LinesFromOtherThreadsAreNeitherLostNorTorn)
{
    CapturingLogSink sink;
    QList<QThread*> threads;
    for (int t = 0; t < 4; ++t) {
        threads.append(QThread::create([t] {
            for (int i = 0; i < 500; ++i)
                Logger(nullptr, "INFO") << "thread" << t << "line" << i;
        }));
        threads.last()->start();
    }
    for (QThread* thread : threads) {
        thread->wait();
        delete thread;
    }
    EXPECT_EQ(sink.records().size(), 2000);
    EXPECT_TRUE(sink.contains("INFO", "thread 3 line 499"));
}

TEST(Logger, RemovedSinkReceivesNothing)
{
    auto sink = std::make_unique<CapturingLogSink>();
    sink.reset();
    Logger(nullptr, "INFO") << "after removal"; // must not touch the destroyed sink
    CapturingLogSink live;
    Logger(nullptr, "INFO") << "seen";
    EXPECT_EQ(live.lines(), QStringList{"INFO seen"});
}
