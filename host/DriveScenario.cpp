#include "DriveScenario.h"

#include <algorithm>
#include <cmath>

namespace {

// One round: from a start time, the speed goes from one level to the next; flat stretches
// have the same speed at both ends.
struct Stretch {
    double from;
    double fromKmh;
    double toKmh;
};
constexpr Stretch Round[] = {
    {0, 0, 0},      // parked
    {10, 0, 50},    // pulling away in town
    {25, 50, 50},
    {70, 50, 0},    // braking for a light
    {80, 0, 0},     // waiting in D
    {90, 0, 110},   // onto the motorway
    {115, 110, 110},
    {200, 110, 0},  // off it again
    {220, 0, 0},    // parked at the end
};
constexpr int Stretches = sizeof(Round) / sizeof(Round[0]);
// In D from here to here of a round; parked outside.
constexpr double DriveFrom = 8;
constexpr double DriveUntil = 230;

constexpr double StartOdometerKm = 12345.6;
constexpr double StartCharge = 78;
// 0.2 kWh a kilometre from a 75 kWh battery, and a little for the car being awake.
constexpr double ChargePerKm = 0.2 / 75 * 100;
constexpr double ChargePerSecondAwake = 0.0005;
constexpr double IntegrationStep = 0.1;

double roundTime(double seconds)
{
    return std::fmod(std::max(0.0, seconds), DriveScenario::RoundSeconds);
}

double speedInRound(double t)
{
    int i = Stretches - 1;
    while (i > 0 && t < Round[i].from)
        --i;
    const double end = i + 1 < Stretches ? Round[i + 1].from : DriveScenario::RoundSeconds;
    const double x = std::clamp((t - Round[i].from) / (end - Round[i].from), 0.0, 1.0);
    // Eased at both ends, as a driver presses and lifts: no jump in acceleration.
    const double eased = x * x * (3 - 2 * x);
    return Round[i].fromKmh + (Round[i].toKmh - Round[i].fromKmh) * eased;
}

double distanceInRound(double t)
{
    double km = 0;
    for (double s = 0; s < t; s += IntegrationStep) {
        const double step = std::min(IntegrationStep, t - s);
        km += speedInRound(s + step / 2) * step / 3600;
    }
    return km;
}

} // namespace

double DriveScenario::speedAt(double seconds)
{
    return speedInRound(roundTime(seconds));
}

double DriveScenario::distanceAt(double seconds)
{
    static const double perRound = distanceInRound(RoundSeconds);
    const double rounds = std::floor(std::max(0.0, seconds) / RoundSeconds);
    return rounds * perRound + distanceInRound(roundTime(seconds));
}

DriveScenario::State DriveScenario::at(double seconds)
{
    seconds = std::max(0.0, seconds);
    const double t = roundTime(seconds);
    State s;
    s.speedKmh = speedAt(seconds);
    const bool driving = t >= DriveFrom && t < DriveUntil;
    s.gear = driving ? 4 : 1;
    const double km = distanceAt(seconds);
    s.odometerKm = StartOdometerKm + km;
    s.stateOfCharge = std::max(0.0, StartCharge - km * ChargePerKm - seconds * ChargePerSecondAwake);
    // The DC-DC converter charges the 12 V battery while the car is in drive.
    s.battery12V = driving ? 14.1 : 12.8;
    // The pack warms with the distance driven, towards 35 °C; the cabin towards its set point.
    s.batteryTemperature = 24 + 11 * (1 - std::exp(-km / 15));
    s.cabinTemperature = 21.5 + (15 - 21.5) * std::exp(-seconds / 300);
    s.outsideTemperature = 15 + 0.5 * std::sin(seconds / 600);
    return s;
}
