#pragma once

#include "OrvaneExport.h"
#include "can/CANFrameSource.h"

#include <string>

// Reads a SocketCAN interface through a raw socket with CAN FD frames enabled. Kernel-side
// overflows are counted as dropped frames of the interface's bus.
class ORVANE_EXPORT SocketCANSource : public CANFrameSource {
public:
    explicit SocketCANSource(const QString& iface);

    QString description() const override;
    Outcome run(CANDecoder& decoder, const CANInterfaceRoutes& routes, const std::atomic<bool>& stop) override;
    bool retryAfterFailure() const override { return true; }

    // Opens and binds the socket; -1 with a reason when the interface cannot be read.
    static int openSocket(const std::string& iface, std::string* error);

private:
    QString mIface;
    std::string mLastError;  // a failure is logged once until it changes
};
