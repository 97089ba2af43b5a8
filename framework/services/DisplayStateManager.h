#pragma once

#include "OrvaneExport.h"

// The display's power states.
class ORVANE_EXPORT DisplayStateManager {
public:
    static DisplayStateManager* instance();

    // Turns the display off as the car does before it sleeps.
    void requestPowerOff();

private:
    DisplayStateManager() = default;
};
