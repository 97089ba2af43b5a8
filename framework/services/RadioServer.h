#pragma once

#include "OrvaneExport.h"

class ServiceCallContext;

// The car's radio tuner service.
class ORVANE_EXPORT RadioServer {
public:
    static RadioServer* proxy();

    // Forgets stations, presets and tuner calibration.
    void asyncFactoryReset(ServiceCallContext* context, bool noReply);

private:
    RadioServer() = default;
};
