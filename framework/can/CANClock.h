#pragma once

#include "OrvaneExport.h"

#include <chrono>
#include <condition_variable>
#include <mutex>

// The time the CAN layer keeps: the steady clock and a wait on it. Tests put a clock of their
// own in its place, so pacing and rates are checked without waiting for real time.
class ORVANE_EXPORT CANClock {
public:
    using TimePoint = std::chrono::steady_clock::time_point;
    virtual ~CANClock();
    virtual TimePoint now() const = 0;
    // Waits on `wake` until `due` (TimePoint::max(): until notified) or a notification; `lock`
    // holds wake's mutex on entry and on return.
    virtual void waitUntil(std::unique_lock<std::mutex>& lock, std::condition_variable& wake, TimePoint due) = 0;
    static CANClock& steady();
};
