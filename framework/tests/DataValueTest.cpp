#include "core/DataValue.h"
#include "core/DataValues.h"
#include "core/Logger.h"
#include "TestSupport.h"

#include <QFile>
#include <QSignalSpy>
#include <QThread>
#include <atomic>
#include <gtest/gtest.h>

#include <sys/syscall.h>
#include <unistd.h>

namespace {

// The scheduler's state of one of this process's threads: 'R' running, 'S' asleep (as in a lock).
char threadState(pid_t thread)
{
    QFile stat(QStringLiteral("/proc/self/task/%1/stat").arg(thread));
    if (!stat.open(QIODevice::ReadOnly))
        return '?';
    const QByteArray line = stat.readAll();
    // "tid (name) S ...": the name may hold anything, so read after its last parenthesis.
    const int close = line.lastIndexOf(')');
    return close >= 0 && close + 2 < line.size() ? line[close + 2] : '?';
}

} // namespace

TEST(DataValue, PendingRequestIsKeptApartUntilAcceptedOrReverted)
{
    IntDataValue speedLimit("TEST_speedLimit", 120);
    QSignalSpy changes(&speedLimit, &DataValue::changed);
    {
        DataValue::EventLocker lock(speedLimit);
        speedLimit.setPendingValidNoLock(90);
    }
    EXPECT_TRUE(speedLimit.hasPending());
    EXPECT_EQ(speedLimit.value(), 120);
    EXPECT_EQ(speedLimit.pendingValue(), 90);
    {
        DataValue::EventLocker lock(speedLimit);
        speedLimit.revertPendingNoLock();
    }
    EXPECT_FALSE(speedLimit.hasPending());
    EXPECT_EQ(speedLimit.pendingValue(), 120); // no request: the pending view is the value
    {
        DataValue::EventLocker lock(speedLimit);
        speedLimit.setPendingValidNoLock(100);
        speedLimit.acceptPendingNoLock();
    }
    EXPECT_FALSE(speedLimit.hasPending());
    EXPECT_EQ(speedLimit.value(), 100);
    EXPECT_EQ(changes.count(), 3);

    // Reverting with nothing pending is not a change.
    {
        DataValue::EventLocker lock(speedLimit);
        speedLimit.revertPendingNoLock();
    }
    EXPECT_EQ(changes.count(), 3);
}

TEST(DataValue, ProtectedValueRefusesPlainWritesWithTheAssertion)
{
    CapturingLogSink log;
    BoolDataValue transport("TEST_transportMode", false, true, /*isProtected=*/true);
    QSignalSpy changes(&transport, &DataValue::changed);
    {
        DataValue::EventLocker lock(transport);
        transport.setValueNoLock(true);
    }
    EXPECT_FALSE(transport.value());
    EXPECT_EQ(changes.count(), 0);
    ASSERT_EQ(log.records().size(), 1);
    EXPECT_EQ(log.records()[0].level, "ERROR");
    EXPECT_TRUE(log.records()[0].message.contains(
        "Protected data value TEST_transportMode not set with setProtectedValue"));

    transport.setProtectedValue(true);
    EXPECT_TRUE(transport.value());
    EXPECT_EQ(changes.count(), 1);
    // The bench's text form goes through the protected path too.
    QString error;
    EXPECT_TRUE(transport.setFromString("false", &error));
    EXPECT_FALSE(transport.value());
}

TEST(DataValue, EventLockerAnnouncesOnceAfterUnlocking)
{
    RealDataValue torque("TEST_torque", 0.0, /*valid=*/false);
    int calls = 0;
    bool lockFreeInSlot = false;
    QObject::connect(&torque, &DataValue::changed, [&] {
        ++calls;
        // Another thread could take the lock now: the writer is done with it.
        std::atomic<bool> locked{false};
        QThread* probe = QThread::create([&] {
            DataValue::ConditionalLocker lock(torque);
            locked = true;
        });
        probe->start();
        lockFreeInSlot = probe->wait(1000) && locked;
        delete probe;
    });
    {
        DataValue::EventLocker lock(torque);
        torque.setValueNoLock(1.5);
        torque.setValueNoLock(2.5);
        {
            DataValue::EventLocker nested(torque);
            torque.setValidNoLock(true);
        }
        EXPECT_EQ(calls, 0);
    }
    EXPECT_EQ(calls, 1);
    EXPECT_TRUE(lockFreeInSlot);
    EXPECT_DOUBLE_EQ(torque.value(), 2.5);
    EXPECT_TRUE(torque.isValid());
}

TEST(DataValue, ConditionalLockerNestsOnOneThreadAndExcludesOthers)
{
    IntDataValue gear("TEST_gear", 1);
    std::atomic<pid_t> writerThread{0};
    std::atomic<bool> writerDone{false};
    QThread* writer = nullptr;
    {
        DataValue::ConditionalLocker outer(gear);
        DataValue::ConditionalLocker inner(gear); // same thread: must not deadlock
        writer = QThread::create([&] {
            writerThread = pid_t(syscall(SYS_gettid));
            gear.setValue(4);
            writerDone = true;
        });
        writer->start();
        // Until the writer is asleep in the lock, or (if the lock let it through) done.
        while (!writerDone && (writerThread == 0 || threadState(writerThread) != 'S'))
            QThread::yieldCurrentThread();
        EXPECT_FALSE(writerDone.load()) << "the writer got past a lock held by another thread";
        EXPECT_EQ(gear.value(), 1);
    }
    writer->wait();
    delete writer;
    EXPECT_TRUE(writerDone.load());
    EXPECT_EQ(gear.value(), 4);
}

TEST(DataValue, ChangesFromOtherThreadsArriveOnTheValuesThread)
{
    StringDataValue carType("TEST_carType", "A");
    QThread* seenOn = nullptr;
    QObject::connect(&carType, &DataValue::changed, [&] { seenOn = QThread::currentThread(); });
    QThread* writer = QThread::create([&] { carType.setValue("B"); });
    writer->start();
    writer->wait();
    delete writer;
    EXPECT_EQ(seenOn, nullptr); // queued, not delivered on the writer's thread
    EXPECT_TRUE(waitFor([&] { return seenOn != nullptr; }));
    EXPECT_EQ(seenOn, QThread::currentThread());
    EXPECT_EQ(carType.value(), "B");
}

TEST(DataValue, EveryAnnouncedChangeIsCountedAfterTheValuesOwnObservers)
{
    IntDataValue speed("TEST_speed", 0);
    DataValueChanges* changes = DataValueChanges::instance();
    quint64 countSeenByObserver = 0;
    QObject::connect(&speed, &DataValue::changed, [&] { countSeenByObserver = changes->count(); });
    QSignalSpy told(changes, &DataValueChanges::changed);
    const quint64 before = changes->count();

    speed.setValue(50);
    EXPECT_EQ(countSeenByObserver, before) << "counted once the value's observers are done";
    EXPECT_EQ(changes->count(), before + 1);
    {
        DataValue::EventLocker lock(speed);
        speed.setValueNoLock(60);
        speed.setValueNoLock(65);
    }
    EXPECT_EQ(changes->count(), before + 2) << "one announcement, one change";
    speed.setValue(65);
    EXPECT_EQ(changes->count(), before + 2) << "writing what is there changes nothing";

    QThread* writer = QThread::create([&] { speed.setValue(70); });
    writer->start();
    writer->wait();
    delete writer;
    EXPECT_EQ(changes->count(), before + 2) << "a change from another thread counts where it is told";
    EXPECT_TRUE(waitFor([&] { return changes->count() == before + 3; }));
    EXPECT_EQ(told.size(), 3);
}

TEST(DataValue, RegistryAndTextForms)
{
    EXPECT_EQ(DataValueRegistry::find("GUI_developerMode"), &GUI_developerMode);
    EXPECT_EQ(DataValueRegistry::find("GUI_noSuchValue"), nullptr);
    {
        MapDataValue map("TEST_map");
        EXPECT_EQ(DataValueRegistry::find("TEST_map"), &map);
        QString error;
        EXPECT_TRUE(map.setFromString(R"({"a": 1, "b": "x"})", &error));
        EXPECT_EQ(map.value().value("b").toString(), "x");
        EXPECT_FALSE(map.setFromString("[1,2]", &error));
        EXPECT_EQ(error, "'[1,2]' is not a map value for TEST_map: expected a JSON object");
    }
    EXPECT_EQ(DataValueRegistry::find("TEST_map"), nullptr);

    IntDataValue number("TEST_number", 7);
    QString error;
    EXPECT_FALSE(number.setFromString("seven", &error));
    EXPECT_EQ(number.value(), 7);
    EXPECT_TRUE(number.setFromString("0x10", &error));
    EXPECT_EQ(number.value(), 16);
    BoolDataValue flag("TEST_flag");
    EXPECT_TRUE(flag.setFromString("on", &error));
    EXPECT_TRUE(flag.value());
}

TEST(DataValue, RefusedTextNamesTheTypeWithTheRightArticleAndWhatIsExpected)
{
    IntDataValue number("TEST_int");
    BoolDataValue flag("TEST_bool");
    RealDataValue real("TEST_real");
    QString error;
    EXPECT_FALSE(number.setFromString("1.5", &error));
    EXPECT_EQ(error, "'1.5' is not an int value for TEST_int: expected a whole number (decimal, or hex with 0x)");
    EXPECT_FALSE(flag.setFromString("maybe", &error));
    EXPECT_EQ(error, "'maybe' is not a bool value for TEST_bool: expected true or false (on/off, yes/no, 1/0)");
    EXPECT_FALSE(real.setFromString("fast", &error));
    EXPECT_EQ(error, "'fast' is not a real value for TEST_real: expected a number");
}

TEST(DataValue, DisplayTextShowsInvalidityAndThePendingRequestInTheValuesOwnForm)
{
    RealDataValue speed("TEST_speed", 85.0);
    EXPECT_EQ(speed.toDisplayString(), "85");
    {
        DataValue::EventLocker lock(speed);
        speed.setPendingValidNoLock(90.5);
    }
    EXPECT_EQ(speed.toDisplayString(), "85 → 90.5 (pending)");
    EXPECT_EQ(speed.toValueString(), "85"); // what an edit starts from

    BoolDataValue rails("TEST_rails", true, /*valid=*/false);
    {
        DataValue::EventLocker lock(rails);
        rails.setPendingValidNoLock(false);
    }
    EXPECT_EQ(rails.toDisplayString(), "true (invalid) → false (pending)");

    MapDataValue config("TEST_config");
    {
        DataValue::EventLocker lock(config);
        config.setPendingValidNoLock(QVariantMap{{"delivered", true}});
    }
    EXPECT_EQ(config.toDisplayString(), "{} → {\"delivered\":true} (pending)");
}

TEST(DataValue, ARequestForTheCurrentValueWithdrawsInsteadOfWaiting)
{
    BoolDataValue rails("TEST_railsRequest", true);
    rails.request(true); // already so: nothing to ask
    EXPECT_FALSE(rails.hasPending());
    rails.request(false);
    EXPECT_TRUE(rails.hasPending());
    rails.request(1); // the current value in another type withdraws it
    EXPECT_FALSE(rails.hasPending());

    RealDataValue speed("TEST_speedRequest", 85.0, false);
    speed.request(85); // unknown to the car: asked even though the stale value matches
    EXPECT_TRUE(speed.hasPending());
    EXPECT_DOUBLE_EQ(speed.pendingValue(), 85.0);
}

TEST(DataValue, ALoggedValueReportsEachChangeOnceHoweverOftenLoggingIsAskedFor)
{
    BoolDataValue calibration("TEST_calibrationRequest", false);
    CapturingLogSink log;
    calibration.setValue(true); // before logging started
    calibration.startLogging();
    calibration.startLogging();
    calibration.request(false);
    {
        DataValue::EventLocker lock(calibration); // the car takes the request
        calibration.acceptPendingNoLock();
    }
    EXPECT_EQ(log.lines(), QStringList({"INFO changed: true → false (pending)", "INFO changed: false"}));
    ASSERT_EQ(log.records().size(), 2);
    EXPECT_EQ(log.records().first().context, "DataValue(TEST_calibrationRequest)");
}
