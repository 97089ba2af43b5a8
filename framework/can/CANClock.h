#pragma once

#include "OrvaneExport.h"

#include <atomic>
#include <chrono>
#include <cstdint>

// The time the CAN layer keeps: the steady clock and a sleep on it. Tests put a clock of their
// own in its place, so pacing and rates are checked without waiting for real time.
class ORVANE_EXPORT CANClock {
public:
    using TimePoint = std::chrono::steady_clock::time_point;
    virtual ~CANClock();
    virtual TimePoint now() const = 0;
    // Sleeps until `due` (TimePoint::max(): for good) or until `wakeUps` has moved on from
    // `seen`, at once when it already has.
    virtual void sleepUntil(const std::atomic<uint32_t>& wakeUps, uint32_t seen, TimePoint due) = 0;
    // Moves `wakeUps` on and wakes whoever sleeps on it.
    virtual void wake(std::atomic<uint32_t>& wakeUps) = 0;
    static CANClock& steady();
};
