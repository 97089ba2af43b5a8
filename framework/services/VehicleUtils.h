#pragma once

#include "OrvaneExport.h"

class QObject;

// One entry of a mode's name table; a table ends with {0, nullptr}. The row of a name is the
// value a picker writes.
struct ModeName {
    int value;
    const char* name;
};

extern ORVANE_EXPORT const ModeName EspModeRequestNameMap[];
extern ORVANE_EXPORT const ModeName TractionControlModeRequestNameMap[];
extern ORVANE_EXPORT const ModeName DragStripModeNameMap[];

// Facts about the car, each read from the VAPI_ data value that carries it. A fact whose value
// is not valid (the car has not said yet) is answered as absent: the UI offers nothing it
// cannot confirm.
class ORVANE_EXPORT VehicleUtils {
public:
    // In park. While the gear is unknown (invalid, or 0) the answer is !requireValid: gates
    // that protect the car ask with true, controls that merely follow the gear with false.
    static bool isCarParked(bool requireValid = true);
    // Connects VAPI_gear changes to a slot given with SLOT(); callNow calls it once at once.
    // Queued delivers each change on a later turn of the receiver's event loop.
    static bool gearConnect(QObject* receiver, const char* slot, bool callNow, bool queued = false);

    static bool hasParkAssist();
    // The second generation stability control, which has selectable modes.
    static bool isEsp2();
    // Drag-strip (Velocor) launch modes; the car must be built for them.
    static bool allowVelocorMode();
    // The drive motors may be chosen on a four-wheel-drive car on the line or in service
    // (factory or diagnostic mode), never by a customer.
    static bool allowMotorModeSelection();
    // The rails may be switched off only when the car is known to be parked and known not to
    // be in tow mode: a car on a tow truck or about to roll must keep its brakes powered.
    static bool allowPowerOff();
    static bool hasActiveSpoiler();
    static bool isFourWheelDrive();
};
