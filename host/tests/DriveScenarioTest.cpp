#include "DriveScenario.h"

#include <gtest/gtest.h>

#include <cmath>

// Ten minutes of the drive in tenths of a second, looked at as a car's own sensors would be.
TEST(DriveScenario, MovesAsACarDoesOverRoundAfterRound)
{
    constexpr double Step = 0.1;
    DriveScenario::State before = DriveScenario::at(0);
    EXPECT_EQ(before.speedKmh, 0);
    EXPECT_EQ(before.gear, 1);
    double topSpeed = 0;
    for (double t = Step; t <= 600; t += Step) {
        const DriveScenario::State now = DriveScenario::at(t);
        SCOPED_TRACE(t);
        ASSERT_GE(now.speedKmh, 0);
        // No more than 4 m/s² either way: no jumps, no rocket starts.
        ASSERT_LE(std::abs(now.speedKmh - before.speedKmh) / 3.6 / Step, 4.0);
        if (now.gear == 1) {
            ASSERT_EQ(now.speedKmh, 0) << "parked but moving";
        }
        ASSERT_GE(now.odometerKm, before.odometerKm);
        ASSERT_LE(now.stateOfCharge, before.stateOfCharge);
        ASSERT_TRUE(now.battery12V == 12.8 || now.battery12V == 14.1);
        ASSERT_LE(std::abs(now.batteryTemperature - before.batteryTemperature), 0.05);
        ASSERT_LE(std::abs(now.cabinTemperature - before.cabinTemperature), 0.05);
        ASSERT_LE(std::abs(now.outsideTemperature - before.outsideTemperature), 0.05);
        topSpeed = std::max(topSpeed, now.speedKmh);
        before = now;
    }
    EXPECT_DOUBLE_EQ(topSpeed, 110);

    // A round is a few kilometres of town and motorway, and costs about a percent of charge.
    const DriveScenario::State round = DriveScenario::at(DriveScenario::RoundSeconds);
    const double km = DriveScenario::distanceAt(DriveScenario::RoundSeconds);
    EXPECT_GT(km, 3);
    EXPECT_LT(km, 6);
    EXPECT_NEAR(DriveScenario::at(0).stateOfCharge - round.stateOfCharge, 1.3, 0.5);
    EXPECT_NEAR(DriveScenario::distanceAt(3 * DriveScenario::RoundSeconds), 3 * km, 1e-9);
    EXPECT_GT(DriveScenario::at(480).batteryTemperature, DriveScenario::at(0).batteryTemperature + 1);
    EXPECT_GT(DriveScenario::at(600).cabinTemperature, DriveScenario::at(0).cabinTemperature + 5);
}
