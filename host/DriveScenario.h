#pragma once

// The bench car out on a drive: a four-minute round of town and motorway that repeats, parked
// at both ends. Everything follows from the time since the drive began, so a moment can be
// looked at without living through the ones before it.
class DriveScenario {
public:
    // The car as its sensors report it.
    struct State {
        double speedKmh = 0;
        int gear = 1; // VAPI_gear: 1 P, 4 D
        double odometerKm = 0;
        double stateOfCharge = 0; // %
        double battery12V = 0;
        double batteryTemperature = 0; // °C
        double cabinTemperature = 0;
        double outsideTemperature = 0;
    };

    static constexpr double RoundSeconds = 240;

    // The car `seconds` into the drive.
    static State at(double seconds);
    // The speed alone, which the rest follows from.
    static double speedAt(double seconds);
    // Kilometres driven in the first `seconds`.
    static double distanceAt(double seconds);
};
