#pragma once

#include "OrvaneExport.h"
#include "can/CANFrameSource.h"
#include "can/CANPacer.h"
#include "can/CanFrame.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <utility>
#include <vector>

class CANMessageNode;
struct DbcMessage;
struct DbcSignal;

// Plausible traffic from the catalogue alone: every message at its cycle time (100 ms when
// the catalogue gives none), each signal a slow wave within its range, labelled signals
// stepping through their labels, multiplexed messages taking turns through their selectors.
// The pacer makes the frames as they fall due, a batch every 100 ms: made-up values need be no
// fresher than a viewer refreshing ten times a second shows them, and an idle bench wakes
// ten times a second for them, not once per frame.
class ORVANE_EXPORT CANTrafficGenerator : public CANFrameSource {
public:
    static constexpr std::chrono::milliseconds Batch{100};
    // A signal's physical value from elsewhere (a simulated car) instead of its wave; nothing
    // for the signals it does not know. Called on the pacer's thread.
    using ValueSource = std::function<std::optional<double>(const CANMessageNode& message, const DbcSignal& signal)>;

    explicit CANTrafficGenerator(double speed = 1.0, ValueSource values = {}, CANPacer& pacer = CANPacer::shared());

    QString description() const override;
    // Traffic for every bus of the decoder's catalogue; the routes have nothing to say.
    Outcome run(CANDecoder& decoder, const CANInterfaceRoutes& routes, const std::atomic<bool>& stop) override;

    // The frame of a message at `seconds` into the run; the n-th frame of the message picks
    // the n-th selector of a multiplexed message.
    static void makeFrame(const CANMessageNode& message, double seconds, uint64_t n, CanFrame& frame,
                          const ValueSource& values = {});
    uint64_t framesSent() const { return mSent.load(); }

private:
    class Traffic;
    // A multiplexed message's switches and the values that select something: switch index, value.
    using Selector = std::pair<int, uint64_t>;
    static std::vector<Selector> selectorsOf(const DbcMessage& message);
    static void makeFrame(const CANMessageNode& message, const std::vector<Selector>& selectors, double seconds,
                          uint64_t n, CanFrame& frame, const ValueSource& values);

    double mSpeed;
    ValueSource mValues;
    CANPacer& mPacer;
    std::atomic<uint64_t> mSent{0};
};
