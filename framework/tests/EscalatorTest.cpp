#include "core/PendingSaves.h"
#include "services/Escalator.h"

#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>

namespace {

QString script(const QTemporaryDir& dir, const QString& name, const QString& body)
{
    const QString path = dir.filePath(name);
    QFile file(path);
    file.open(QIODevice::WriteOnly);
    file.write("#!/bin/sh\n" + body.toUtf8() + "\n");
    file.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
    return path;
}

} // namespace

TEST(Escalator, TheCommandsStatusIsTheResultAndAFailureSaysWhyInErrno)
{
    QTemporaryDir dir;
    const QString args = dir.filePath("args");
    EXPECT_EQ(Escalator(script(dir, "ok", "echo \"$@\" > '" + args + "'"), {"a b", "c"}).runCommand(), 0);
    QFile written(args);
    ASSERT_TRUE(written.open(QIODevice::ReadOnly));
    EXPECT_EQ(written.readAll(), "a b c\n");

    errno = 0;
    EXPECT_EQ(Escalator(script(dir, "refuses", "exit 3"), {}).runCommand(), 3);
    EXPECT_EQ(errno, EPERM);

    errno = 0;
    EXPECT_NE(Escalator(dir.filePath("missing"), {}).runCommand(), 0);
    EXPECT_EQ(errno, ENOENT);

    errno = 0;
    EXPECT_NE(Escalator(script(dir, "crashes", "kill -SEGV $$"), {}).runCommand(), 0);
    EXPECT_EQ(errno, ECANCELED);
}

TEST(Escalator, ACommandThatNeverEndsIsKilledAfterTheTimeout)
{
    QTemporaryDir dir;
    const QString pidFile = dir.filePath("pid");
    const QString hangs = script(dir, "hangs", "echo $$ > '" + pidFile + "'\nexec sleep 600");
    const int before = Escalator::timeoutMs();
    Escalator::setTimeoutMs(300);
    errno = 0;
    const int status = Escalator(hangs, {}).runCommand();
    Escalator::setTimeoutMs(before);
    EXPECT_NE(status, 0);
    EXPECT_EQ(errno, ETIMEDOUT);
    QFile file(pidFile);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const pid_t pid = file.readAll().trimmed().toInt();
    ASSERT_GT(pid, 0);
    EXPECT_EQ(kill(pid, 0), -1) << "the command still runs";
    EXPECT_EQ(errno, ESRCH) << "the command was not reaped";
}

TEST(PendingSaves, EachOwnersFlushRunsUntilItIsRemovedAndErrnoSurvives)
{
    int a = 0, b = 0;
    int ranA = 0, ranB = 0;
    PendingSaves::add(&a, [&] { ++ranA; errno = EIO; });
    PendingSaves::add(&b, [&] { ++ranB; });
    PendingSaves::add(&b, [&] { ranB += 10; });  // replaces b's first
    errno = ETIMEDOUT;
    PendingSaves::flushAll();
    EXPECT_EQ(errno, ETIMEDOUT);
    EXPECT_EQ(ranA, 1);
    EXPECT_EQ(ranB, 10);
    PendingSaves::remove(&a);
    PendingSaves::flushAll();
    EXPECT_EQ(ranA, 1);
    EXPECT_EQ(ranB, 20);
    PendingSaves::remove(&b);
}
