#pragma once

#include "can/CANDecoder.h"
#include "can/CANFrameSource.h"
#include "can/CANPacer.h"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <mutex>
#include <thread>

// Time that moves only as the code under test sleeps: a sleep until a moment up to the horizon
// returns at once with the clock there; one past it parks until a wake-up.
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

    void sleepUntil(const std::atomic<uint32_t>& wakeUps, uint32_t seen, TimePoint due) override
    {
        std::unique_lock<std::mutex> lock(mMutex);
        if (wakeUps.load() != seen)
            return;
        if (due != TimePoint::max() && due <= mHorizon) {
            mNow = std::max(mNow, due);
            return;
        }
        mParkedPastHorizon = due != TimePoint::max();
        mChanged.notify_all();
        mChanged.wait(lock, [&] { return wakeUps.load() != seen; });
        mParkedPastHorizon = false;
    }

    void wake(std::atomic<uint32_t>& wakeUps) override
    {
        std::lock_guard<std::mutex> lock(mMutex);
        wakeUps.fetch_add(1);
        mChanged.notify_all();
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
