#include "services/VehicleUtils.h"

#include "core/DataValueBinding.h"
#include "core/DataValues.h"

const ModeName EspModeRequestNameMap[] = {
    {0, "NORMAL"}, {1, "REDUCED"}, {2, "OFF"}, {3, "DYNO"}, {0, nullptr},
};

const ModeName TractionControlModeRequestNameMap[] = {
    {0, "STANDARD"}, {1, "SLIP"}, {2, "DEV MODE"}, {3, "OFF"}, {0, nullptr},
};

const ModeName DragStripModeNameMap[] = {
    {0, "OFF"}, {1, "PREP"}, {2, "ARMED"}, {0, nullptr},
};

namespace {

enum Gear { GearUnknown = 0, GearPark = 1 };

// True only when the car has said so.
bool confirmed(const BoolDataValue& fact)
{
    DataValue::ConditionalLocker lock(fact);
    return fact.isValid() && fact.value();
}

// False only when the car has said so.
bool confirmedOff(const BoolDataValue& fact)
{
    DataValue::ConditionalLocker lock(fact);
    return fact.isValid() && !fact.value();
}

} // namespace

bool VehicleUtils::isCarParked(bool requireValid)
{
    DataValue::ConditionalLocker lock(VAPI_gear);
    if (!VAPI_gear.isValid() || VAPI_gear.value() == GearUnknown)
        return !requireValid;
    return VAPI_gear.value() == GearPark;
}

bool VehicleUtils::gearConnect(QObject* receiver, const char* slot, bool callNow, bool queued)
{
    if (!DataValueBinding::connectSlot(&VAPI_gear, receiver, slot, callNow))
        return false;
    if (queued) {
        // connectSlot checked the slot; only the kind of connection changes.
        QObject::disconnect(&VAPI_gear, SIGNAL(changed()), receiver, slot);
        QObject::connect(&VAPI_gear, SIGNAL(changed()), receiver, slot, Qt::QueuedConnection);
    }
    return true;
}

bool VehicleUtils::hasParkAssist()
{
    return confirmed(VAPI_hasParkAssist);
}

bool VehicleUtils::isEsp2()
{
    return confirmed(VAPI_esp2);
}

bool VehicleUtils::allowVelocorMode()
{
    return confirmed(VAPI_velocorCapable);
}

bool VehicleUtils::allowMotorModeSelection()
{
    return isFourWheelDrive() && (confirmed(GUI_factoryMode) || confirmed(GUI_diagnosticMode));
}

bool VehicleUtils::allowPowerOff()
{
    return confirmedOff(VAPI_towModeEnabled) && isCarParked(true);
}

bool VehicleUtils::hasActiveSpoiler()
{
    return confirmed(VAPI_hasActiveSpoiler);
}

bool VehicleUtils::isFourWheelDrive()
{
    return confirmed(VAPI_fourWheelDrive);
}
