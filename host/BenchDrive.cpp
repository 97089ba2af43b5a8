#include "BenchDrive.h"

#include "DriveScenario.h"
#include "can/CANData.h"
#include "can/DbcParser.h"
#include "core/DataValues.h"

#include <QElapsedTimer>
#include <QTimer>

#include <memory>

namespace {

// A car value read on the generator's thread, under its own lock; nothing while it is invalid.
std::optional<double> readReal(const DataValue& value)
{
    DataValue::ConditionalLocker lock(value);
    if (!value.isValid())
        return std::nullopt;
    return value.variant().toDouble();
}

} // namespace

BenchDrive::BenchDrive(QObject* parent)
    : QObject(parent)
    , mTimer(new QTimer(this))
{
    mTimer->setInterval(100);
    connect(mTimer, &QTimer::timeout, this, &BenchDrive::update);
}

void BenchDrive::start(double startAt, Clock clock)
{
    if (!clock) {
        auto since = std::make_shared<QElapsedTimer>();
        since->start();
        clock = [since, startAt] { return startAt + since->elapsed() / 1000.0; };
    }
    mClock = std::move(clock);
    update();
    mTimer->start();
}

void BenchDrive::update()
{
    const DriveScenario::State s = DriveScenario::at(mClock());
    VAPI_vehicleSpeed.setValue(s.speedKmh);
    VAPI_gear.setValue(s.gear);
    VAPI_stateOfCharge.setValue(s.stateOfCharge);
    VAPI_battery12V.setValue(s.battery12V);
    VAPI_batteryTemperature.setValue(s.batteryTemperature);
    VAPI_cabinTemperature.setValue(s.cabinTemperature);
    VAPI_outsideTemperature.setValue(s.outsideTemperature);
}

CANTrafficGenerator::ValueSource BenchDrive::sampleSignals()
{
    return [](const CANMessageNode& message, const DbcSignal& signal) -> std::optional<double> {
        const std::string& m = message.definition().name;
        const std::string& n = signal.name;
        if (m == "VehicleSpeed" && (n == "Speed" || n == "WheelSpeedFL" || n == "WheelSpeedFR"))
            return readReal(VAPI_vehicleSpeed);
        if (m == "BatteryStatus" && n == "StateOfCharge")
            return readReal(VAPI_stateOfCharge);
        if (m == "BatteryStatus" && n == "BatteryVoltage")
            return readReal(VAPI_battery12V);
        if (m == "ClimateSensors" && n == "CabinTemp")
            return readReal(VAPI_cabinTemperature);
        if (m == "ClimateSensors" && n == "OutsideTemp")
            return readReal(VAPI_outsideTemperature);
        return std::nullopt;
    };
}
