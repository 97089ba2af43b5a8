#include "can/CANPacer.h"

#include <sys/prctl.h>

#include <algorithm>

CANPacer::Client::~Client() = default;

CANPacer::CANPacer(CANClock& clock)
    : mClock(clock)
{
    mThread = std::thread([this] { loop(); });
}

CANPacer::~CANPacer()
{
    {
        std::lock_guard<std::mutex> lock(mMutex);
        mQuit = true;
    }
    wake();
    mThread.join();
}

CANPacer& CANPacer::shared()
{
    // Never destroyed: sources may still leave it while the process exits.
    static CANPacer* pacer = new CANPacer;
    return *pacer;
}

void CANPacer::add(Client* client)
{
    {
        std::lock_guard<std::mutex> lock(mMutex);
        mClients.push_back(client);
    }
    wake();
}

void CANPacer::remove(Client* client)
{
    // Passes run under the lock: once it is taken, none is under way.
    std::lock_guard<std::mutex> lock(mMutex);
    mClients.erase(std::remove(mClients.begin(), mClients.end(), client), mClients.end());
}

void CANPacer::wake()
{
    mClock.wake(mWakeUps);
}

CANPacer::TimePoint CANPacer::alignUp(TimePoint t, std::chrono::nanoseconds step)
{
    const auto since = t.time_since_epoch();
    const auto ticks = (since + step - std::chrono::nanoseconds(1)) / step;
    return TimePoint(std::chrono::duration_cast<TimePoint::duration>(ticks * step));
}

void CANPacer::loop()
{
    // The kernel may move a wake-up by this much to share it with other timers.
    ::prctl(PR_SET_TIMERSLACK, 1000 * 1000UL);
    std::unique_lock<std::mutex> lock(mMutex);
    while (!mQuit) {
        // A wake-up from here on makes the sleep below return at once.
        const uint32_t seen = mWakeUps.load();
        const TimePoint now = mClock.now();
        TimePoint next = TimePoint::max();
        for (Client* client : mClients)
            next = std::min(next, client->deliverDue(now));
        // Nothing known due: a client that learns of a frame wakes the thread.
        const TimePoint due = next == TimePoint::max() ? next : std::min(alignUp(next), now + LongestSleep);
        lock.unlock();
        mClock.sleepUntil(mWakeUps, seen, due);
        lock.lock();
    }
}
