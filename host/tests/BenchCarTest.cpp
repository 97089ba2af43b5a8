#include "BenchCar.h"
#include "FactoryDrivingPanel.h"
#include "core/DataValues.h"
#include "TestSupport.h"

#include <QComboBox>
#include <QLabel>
#include <QTest>
#include <gtest/gtest.h>

namespace {

// The UI's way of asking: a pending request under the value's event lock.
template <typename Value, typename T>
void request(Value& value, const T& wanted)
{
    DataValue::EventLocker lock(value);
    value.setPendingValidNoLock(wanted);
}

void revert(DataValue& value)
{
    DataValue::EventLocker lock(value);
    value.revertPendingNoLock();
}

class BenchCarTest : public ::testing::Test {
protected:
    void TearDown() override
    {
        for (DataValue* value : {static_cast<DataValue*>(&GUI_speedLimitRequest), static_cast<DataValue*>(&GUI_spoilerRequest),
                                 static_cast<DataValue*>(&GUI_powerOffRailsRequest),
                                 static_cast<DataValue*>(&GUI_stopRailsAnd12VSupportRequest)})
            revert(*value);
        GUI_speedLimitRequest.setValue(85.0);
        GUI_spoilerRequest.setValue(3);
        GUI_powerOffRailsRequest.setValue(false);
        GUI_stopRailsAnd12VSupportRequest.setValue(false);
        VAPI_driveRailOn.setValue(true);
        GUI_factoryKestro.setValue(false);
        DAS_factoryKestroStatus.setValue(2);
        GUI_factoryKestroHeartbeat.setValue(0);
        drainEvents();
    }
};

} // namespace

TEST_F(BenchCarTest, WithoutLatencyARequestIsTakenOnceTheWritersTurnIsOver)
{
    BenchCar car(0);
    request(GUI_speedLimitRequest, 90.0);
    EXPECT_EQ(GUI_speedLimitRequest.value(), 85.0); // the writer still sees its request pending
    EXPECT_EQ(car.waiting(), QStringList({"GUI_speedLimitRequest"}));
    drainEvents();
    EXPECT_FALSE(GUI_speedLimitRequest.hasPending());
    EXPECT_EQ(GUI_speedLimitRequest.value(), 90.0);
    EXPECT_TRUE(car.waiting().isEmpty());
}

TEST_F(BenchCarTest, ARequestRevertedBeforeTheCarTakesItIsNeverTaken)
{
    BenchCar car(0);
    request(GUI_speedLimitRequest, 90.0);
    revert(GUI_speedLimitRequest);
    EXPECT_TRUE(car.waiting().isEmpty());
    drainEvents();
    EXPECT_EQ(GUI_speedLimitRequest.value(), 85.0);
    EXPECT_FALSE(GUI_speedLimitRequest.hasPending());
}

TEST_F(BenchCarTest, WaitingRequestsAreTakenOnDemandInTheirLatestForm)
{
    BenchCar car(60 * 60 * 1000); // never on its own within a test
    request(GUI_speedLimitRequest, 90.0);
    request(GUI_spoilerRequest, 1);
    request(GUI_speedLimitRequest, 95.0); // changed its mind: one request, the latest
    EXPECT_EQ(car.waiting(), QStringList({"GUI_speedLimitRequest", "GUI_spoilerRequest"}));
    drainEvents();
    EXPECT_EQ(GUI_speedLimitRequest.value(), 85.0);

    car.acceptWaiting();
    EXPECT_EQ(GUI_speedLimitRequest.value(), 95.0);
    EXPECT_EQ(GUI_spoilerRequest.value(), 1);
    EXPECT_FALSE(GUI_spoilerRequest.hasPending());
    EXPECT_TRUE(car.waiting().isEmpty());

    // A direct write is not a request: nothing waits, the value is left as written.
    GUI_speedLimitRequest.setValue(70.0);
    EXPECT_TRUE(car.waiting().isEmpty());
}

TEST_F(BenchCarTest, RailsDropWhileEitherRailsOffRequestStands)
{
    BenchCar car(0);
    request(GUI_powerOffRailsRequest, true);
    EXPECT_TRUE(VAPI_driveRailOn.value()); // not before the car took the request
    drainEvents();
    EXPECT_FALSE(VAPI_driveRailOn.value());

    request(GUI_stopRailsAnd12VSupportRequest, true);
    drainEvents();
    GUI_powerOffRailsRequest.setValue(false);
    EXPECT_FALSE(VAPI_driveRailOn.value()); // the 12 V stop still holds them off
    GUI_stopRailsAnd12VSupportRequest.setValue(false);
    EXPECT_TRUE(VAPI_driveRailOn.value());

    // Someone at the bench turns the rails off by hand: an unrelated change leaves that alone.
    VAPI_driveRailOn.setValue(false);
    request(GUI_powerOffRailsRequest, false);
    drainEvents();
    EXPECT_FALSE(VAPI_driveRailOn.value());
}

TEST_F(BenchCarTest, FactoryDrivingStartsAndStopsOnlyFromReadyOrDriving)
{
    BenchCar car(0);
    DAS_factoryKestroStatus.setValue(2);
    GUI_factoryKestro.setValue(true);
    EXPECT_EQ(DAS_factoryKestroStatus.value(), 1);
    GUI_factoryKestro.setValue(false);
    EXPECT_EQ(DAS_factoryKestroStatus.value(), 2);

    DAS_factoryKestroStatus.setValue(3); // no QR code: the system keeps its own status
    GUI_factoryKestro.setValue(true);
    EXPECT_EQ(DAS_factoryKestroStatus.value(), 3);
}

TEST_F(BenchCarTest, ThePanelSetsTheDrivingStatusAndShowsTheHeartbeatWhileItCounts)
{
    qint64 now = 1000;
    FactoryDrivingPanel panel(nullptr, [&now] { return now; });
    QComboBox* status = panel.statusChoice();
    EXPECT_EQ(status->count(), 9);
    EXPECT_EQ(status->currentText(), "2 ready");

    QTest::keyClick(status, Qt::Key_End);
    EXPECT_EQ(DAS_factoryKestroStatus.value(), 8);
    DAS_factoryKestroStatus.setValue(3); // from a script
    EXPECT_EQ(status->currentText(), "3 no QR code");
    DAS_factoryKestroStatus.setValue(12);
    EXPECT_EQ(status->currentIndex(), -1);

    EXPECT_EQ(panel.heartbeatLabel()->text(), "0, stopped");
    GUI_factoryKestro.setValue(true);
    GUI_factoryKestroHeartbeat.setValue(1);
    EXPECT_EQ(panel.heartbeatLabel()->text(), "1");
    now += 502;
    GUI_factoryKestroHeartbeat.setValue(2);
    EXPECT_EQ(panel.heartbeatLabel()->text(), "2, 502 ms since the beat before");
    GUI_factoryKestro.setValue(false);
    EXPECT_EQ(panel.heartbeatLabel()->text(), "2, stopped");
    // A new run starts without the old run's gap.
    now += 60000;
    GUI_factoryKestro.setValue(true);
    EXPECT_EQ(panel.heartbeatLabel()->text(), "2");
    GUI_factoryKestroHeartbeat.setValue(3);
    EXPECT_EQ(panel.heartbeatLabel()->text(), "3");
}
