#pragma once

#include "OrvaneExport.h"
#include "can/CANFrameSource.h"
#include "can/CanFrame.h"

#include <cstdint>
#include <functional>
#include <optional>

class CANMessageNode;
struct DbcSignal;

// Plausible traffic from the catalogue alone: every message at its cycle time (100 ms when
// the catalogue gives none), each signal a slow wave within its range, labelled signals
// stepping through their labels, multiplexed messages taking turns through their selectors.
class ORVANE_EXPORT CANTrafficGenerator : public CANFrameSource {
public:
    // A signal's physical value from elsewhere (a simulated car) instead of its wave; nothing
    // for the signals it does not know. Called on the generator's thread.
    using ValueSource = std::function<std::optional<double>(const CANMessageNode& message, const DbcSignal& signal)>;

    explicit CANTrafficGenerator(double speed = 1.0, ValueSource values = {});

    QString description() const override;
    // Traffic for every bus of the decoder's catalogue; the routes have nothing to say.
    Outcome run(CANDecoder& decoder, const CANInterfaceRoutes& routes, const std::atomic<bool>& stop) override;

    // The frame of a message at `seconds` into the run; the n-th frame of the message picks
    // the n-th selector of a multiplexed message.
    static void makeFrame(const CANMessageNode& message, double seconds, uint64_t n, CanFrame& frame,
                          const ValueSource& values = {});
    uint64_t framesSent() const { return mSent.load(); }

private:
    double mSpeed;
    ValueSource mValues;
    std::atomic<uint64_t> mSent{0};
};
