#pragma once

#include "OrvaneExport.h"
#include "can/CANFrameSource.h"
#include "can/CANPacer.h"

#include <atomic>
#include <cstdint>
#include <string>

// Reads a SocketCAN interface through a raw socket with CAN FD frames enabled. Kernel-side
// overflows are counted as dropped frames of the interface's bus.
//
// A busy bus is read in batches: the socket's queue is drained with recvmmsg, then the thread
// sleeps to the pacer's next tick while frames gather, so it wakes at most once a tick (with
// the pacer's wake-ups) however many frames come. A quiet bus costs a look at the stop
// request every 100 ms.
class ORVANE_EXPORT SocketCANSource : public CANFrameSource {
public:
    struct Statistics {
        uint64_t frames = 0;  // datagrams of a frame's size, error reports included
        uint64_t reads = 0;   // recvmmsg calls that brought any
    };

    explicit SocketCANSource(const QString& iface, CANClock& clock = CANClock::steady());

    QString description() const override;
    Outcome run(CANDecoder& decoder, const CANInterfaceRoutes& routes, const std::atomic<bool>& stop) override;
    bool retryAfterFailure() const override { return true; }

    // Opens and binds the socket; -1 with a reason when the interface cannot be read.
    static int openSocket(const std::string& iface, std::string* error);
    // Reads datagrams of struct can_frame or canfd_frame from `fd` into `bus` until a stop
    // request (Stopped), the other end hanging up (Finished) or an error (Failed, errno set).
    // Any datagram socket serves: tests and benchmarks hand it one end of a socket pair.
    static Outcome readFrames(int fd, CANDecoder& decoder, int bus, const std::atomic<bool>& stop, CANClock& clock,
                              std::atomic<uint64_t>* frames = nullptr, std::atomic<uint64_t>* reads = nullptr);
    Statistics statistics() const { return {mFrames.load(), mReads.load()}; }

private:
    QString mIface;
    CANClock& mClock;
    std::atomic<uint64_t> mFrames{0}, mReads{0};
    std::string mLastError;  // a failure is logged once until it changes
};
