// Host commands as the UI starts them: real processes found on PATH, reporting to the bench.
#include "HostCommandListener.h"
#include "core/Logger.h"
#include "hostcommand/HostCommandReport.h"
#include "services/HostCommand.h"
#include "services/PlatformJournal.h"
#include "TestSupport.h"

#include <QDir>
#include <QRegularExpression>
#include <QLocalSocket>
#include <QProcess>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

// Generous: the commands are real processes on a busy machine. Only a failure waits this long.
constexpr int ReportTimeoutMs = 20000;

class HostCommandTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(socketDir.isValid());
        QString error;
        ASSERT_TRUE(listener.start(HostCommandListener::commandsFolder(), socketDir.path(), &error)) << error.toStdString();
        PlatformJournal::instance()->clear();
    }

    static bool journalHas(const QString& text)
    {
        return waitFor([&] { return PlatformJournal::instance()->contains(text); }, ReportTimeoutMs);
    }

    // Sends raw bytes to the bench as a client would.
    static void send(const QByteArray& bytes)
    {
        QLocalSocket socket;
        socket.connectToServer(qEnvironmentVariable(HostCommandReport::SocketVariable));
        ASSERT_TRUE(socket.waitForConnected(ReportTimeoutMs));
        socket.write(bytes);
        ASSERT_TRUE(socket.waitForBytesWritten(ReportTimeoutMs));
        socket.disconnectFromServer();
    }

    QTemporaryDir socketDir;
    HostCommandListener listener;
};

} // namespace

TEST_F(HostCommandTest, StartedCommandReportsItsNameAndArgumentsToTheJournal)
{
    EXPECT_TRUE(HostCommand::start("arm-ecall on"));
    EXPECT_TRUE(journalHas("host-command.arm-ecall(on)")) << PlatformJournal::instance()->lines().join(" | ").toStdString();
    EXPECT_TRUE(HostCommand::start("emit-stop-factory-speaker-test"));
    EXPECT_TRUE(journalHas("host-command.emit-stop-factory-speaker-test()"));
}

TEST_F(HostCommandTest, ArgumentsArriveExactlyAsGiven)
{
    QProcess process;
    process.start(QDir(HostCommandListener::commandsFolder()).filePath("bt-reset"), {"a, b", "", "\"quoted\"", "ü"});
    ASSERT_TRUE(process.waitForFinished(ReportTimeoutMs));
    EXPECT_EQ(process.exitCode(), 0) << process.readAllStandardError().toStdString();
    ASSERT_TRUE(journalHas("host-command.bt-reset(a, b, , \"quoted\", ü)"));
    EXPECT_EQ(PlatformJournal::instance()->requests().last().arguments, QStringList({"a, b", "", "\"quoted\"", "ü"}));

    // splitCommand keeps a quoted argument whole.
    EXPECT_TRUE(HostCommand::start("arm-ecall \"one two\""));
    ASSERT_TRUE(journalHas("host-command.arm-ecall(one two)"));
    EXPECT_EQ(PlatformJournal::instance()->requests().last().arguments, QStringList({"one two"}));
}

TEST_F(HostCommandTest, AnUnknownCommandFailsToStartWithAWarning)
{
    CapturingLogSink log;
    EXPECT_FALSE(HostCommand::start("emit-reboot-everything now"));
    EXPECT_FALSE(HostCommand::start("   "));
    EXPECT_EQ(log.lines(), QStringList({"WARN Host command emit-reboot-everything now could not be started",
                                        "WARN Host command     could not be started"}));
    drainEvents();
    EXPECT_TRUE(PlatformJournal::instance()->lines().isEmpty());
}

TEST_F(HostCommandTest, WithoutABenchTheCommandSaysSoAndFails)
{
    QProcess process;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.remove(HostCommandReport::SocketVariable);
    process.setProcessEnvironment(env);
    process.start(QDir(HostCommandListener::commandsFolder()).filePath("arm-ecall"), {"on"});
    ASSERT_TRUE(process.waitForFinished(ReportTimeoutMs));
    EXPECT_EQ(process.exitCode(), 1);
    EXPECT_EQ(process.readAllStandardError(), "arm-ecall: ORVANE_BENCH_JOURNAL is not set: no bench to report to\n");

    env.insert(HostCommandReport::SocketVariable, socketDir.filePath("nobody-listens"));
    process.setProcessEnvironment(env);
    process.start(QDir(HostCommandListener::commandsFolder()).filePath("arm-ecall"), {"on"});
    ASSERT_TRUE(process.waitForFinished(ReportTimeoutMs));
    EXPECT_EQ(process.exitCode(), 1);
    EXPECT_TRUE(process.readAllStandardError().startsWith("arm-ecall: cannot reach the bench at "));
}

TEST_F(HostCommandTest, WhatIsNotAReportIsLoggedAndLeavesTheJournalAlone)
{
    CapturingLogSink log;
    send("{\"command\": \"\", \"arguments\": []}\n[1]\n{\"command\": \"x\", \"arguments\": [1]}\n"
         + HostCommandReport::encode("bt-reset", {"after"}));
    ASSERT_TRUE(journalHas("host-command.bt-reset(after)"));
    EXPECT_EQ(PlatformJournal::instance()->lines().size(), 1);
    EXPECT_EQ(log.lines().filter(QRegularExpression("^WARN Not a host command report:")).size(), 3) << log.lines().join("\n").toStdString();

    send(QByteArray(HostCommandReport::MaxLineLength + 10, 'x') + "\n" + HostCommandReport::encode("bt-reset", {"lost"}));
    ASSERT_TRUE(waitFor([&] { return log.lines().filter("connection dropped").size() == 1; }, ReportTimeoutMs));
    drainEvents();
    EXPECT_FALSE(PlatformJournal::instance()->contains("host-command.bt-reset(lost)"));
}
