#pragma once

#include "can/CANTrafficGenerator.h"

#include <QObject>

#include <functional>

class QTimer;

// Takes the bench car out on the drive of DriveScenario: ten times a second the car's speed,
// gear, charge, 12 V and temperatures follow it.
class BenchDrive : public QObject {
    Q_OBJECT
public:
    // Seconds into the drive; by default the time since start() plus `startAt`.
    using Clock = std::function<double()>;

    explicit BenchDrive(QObject* parent = nullptr);
    void start(double startAt = 0, Clock clock = {});
    // Sets the car's values for this moment of the drive.
    void update();

    // The sample catalogue's signals that tell what the car's values do (speeds, charge, 12 V,
    // temperatures), for the traffic generator: the CAN traffic shows the same car.
    static CANTrafficGenerator::ValueSource sampleSignals();

private:
    QTimer* mTimer;
    Clock mClock;
};
