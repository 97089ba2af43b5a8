#pragma once

#include "OrvaneExport.h"

#include <QString>

// The car's host commands ("emit-reboot-gateway", "arm-ecall on"): programs on PATH, started
// detached; what they do and whether it worked is the platform's business.
class ORVANE_EXPORT HostCommand {
public:
    // Splits the line as a shell would (quotes keep blanks) and starts it. False, with a WARN,
    // when it could not be started.
    static bool start(const QString& commandLine);
};
