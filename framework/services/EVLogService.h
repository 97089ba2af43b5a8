#pragma once

#include "OrvaneExport.h"

class ServiceCallContext;

// The energy log service: the car's record of consumption and charging.
class ORVANE_EXPORT EVLogService {
public:
    static EVLogService* proxy();

    void clearEnergyLog(ServiceCallContext* context);

private:
    EVLogService() = default;
};
