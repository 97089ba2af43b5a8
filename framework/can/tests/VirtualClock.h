#pragma once

#include "can/CANDecoder.h"
#include "can/CANFrameSource.h"
#include "can/CANPacer.h"

#include <algorithm>
#include <atomic>
#include <thread>

// Time that moves only as the code under test waits: a wait for a moment up to the horizon
// returns at once with the clock there; a wait past it parks until the test moves the horizon.
// Pacing is checked exactly, whatever the machine's load.
class VirtualClock : public CANClock {
public:
    // Five milliseconds past a tick, so no frame falls due on a tick's boundary.
    static TimePoint defaultStart() { return TimePoint(std::chrono::seconds(1000) + std::chrono::milliseconds(5)); }

    explicit VirtualClock(TimePoint start = defaultStart())
        : mNow(start)
    {
    }

    TimePoint now() const override
    {
        std::lock_guard<std::mutex> lock(mMutex);
        return mNow;
    }

    void waitUntil(std::unique_lock<std::mutex>& lock, std::condition_variable& wake, TimePoint due) override
    {
        {
            std::lock_guard<std::mutex> own(mMutex);
            if (due != TimePoint::max() && due <= mHorizon) {
                mNow = std::max(mNow, due);
                return;
            }
            mParkedPastHorizon = due != TimePoint::max();
            mChanged.notify_all();
        }
        wake.wait(lock);
        std::lock_guard<std::mutex> own(mMutex);
        mParkedPastHorizon = false;
    }

    // Moves time on as a wait would, for code that only reads the clock.
    void advance(std::chrono::nanoseconds by)
    {
        std::lock_guard<std::mutex> lock(mMutex);
        mNow += std::chrono::duration_cast<TimePoint::duration>(by);
    }

    void setHorizon(TimePoint horizon)
    {
        std::lock_guard<std::mutex> lock(mMutex);
        mHorizon = horizon;
    }
    // Until a wait for a moment past the horizon has parked: everything due by then is done.
    void waitForHorizon()
    {
        std::unique_lock<std::mutex> lock(mMutex);
        mChanged.wait(lock, [this] { return mParkedPastHorizon; });
    }

private:
    mutable std::mutex mMutex;
    std::condition_variable mChanged;
    TimePoint mNow;
    TimePoint mHorizon = TimePoint::max();
    bool mParkedPastHorizon = false;
};

// A source run on a virtual clock until everything due by the horizon is done, then stopped.
struct PacedRun {
    VirtualClock clock;
    CANPacer pacer{clock};
    std::atomic<bool> stop{false};
    CANFrameSource::Outcome outcome = CANFrameSource::Outcome::Failed;
    std::thread worker;

    void runUntil(std::chrono::nanoseconds horizon, CANFrameSource& source, CANDecoder& decoder,
                  const CANInterfaceRoutes& routes = CANInterfaceRoutes())
    {
        clock.setHorizon(VirtualClock::defaultStart() + horizon);
        worker = std::thread([&] { outcome = source.run(decoder, routes, stop); });
        clock.waitForHorizon();
    }
    CANFrameSource::Outcome stopNow()
    {
        stop = true;
        pacer.wake();
        worker.join();
        return outcome;
    }
};
