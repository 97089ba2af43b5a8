#pragma once

#include "OrvaneExport.h"

class ServiceCallContext;

// The centre display's own platform service (settings kept outside the UI process).
class ORVANE_EXPORT CenterDisplayService {
public:
    static CenterDisplayService* proxy();

    // Forgets the charging preferences the car learnt per location (charge limits, schedules).
    void clearChargingLocationPreferences(ServiceCallContext* context);

private:
    CenterDisplayService() = default;
};
