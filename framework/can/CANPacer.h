#pragma once

#include "OrvaneExport.h"
#include "can/CANClock.h"

#include <atomic>
#include <cstdint>
#include <mutex>
#include <thread>
#include <vector>

// One thread delivers the frames of every paced CAN source. A wake-up costs far more than
// decoding the frames it brings (tens of microseconds on a virtual machine), so the sources
// share it: the thread wakes on a grid of ticks for the earliest frame due and each source
// then delivers everything due by then in one batch. Six busy buses cost one wake-up a tick,
// not one per bus or per frame; a frame is at most a tick late (plus scheduling), so values
// stay well within 20 ms of their frames.
class ORVANE_EXPORT CANPacer {
public:
    using TimePoint = CANClock::TimePoint;
    static constexpr std::chrono::microseconds Tick{12500};
    // The longest the thread sleeps while a frame is due: clients notice stop requests in
    // their passes.
    static constexpr std::chrono::milliseconds LongestSleep{100};

    class ORVANE_EXPORT Client {
    public:
        virtual ~Client();
        // On the pacer's thread: delivers what is due by `now` and tells when the next frame is
        // due; TimePoint::max() while it does not know (it calls wake() once it does).
        virtual TimePoint deliverDue(TimePoint now) = 0;
    };

    explicit CANPacer(CANClock& clock = CANClock::steady());
    ~CANPacer();
    CANPacer(const CANPacer&) = delete;
    CANPacer& operator=(const CANPacer&) = delete;
    // The process's pacer, started on first use.
    static CANPacer& shared();

    CANClock& clock() const { return mClock; }
    void add(Client* client);
    // No pass touches the client once this returns.
    void remove(Client* client);
    // A client learnt when its next frame is due: the thread looks again.
    void wake();

    // The first tick of a grid of `step` at or after `t`; grids of multiples of Tick share it.
    static TimePoint alignUp(TimePoint t, std::chrono::nanoseconds step = Tick);

private:
    void loop();

    CANClock& mClock;
    std::mutex mMutex;  // held during passes
    std::vector<Client*> mClients;
    bool mQuit = false;
    std::atomic<uint32_t> mWakeUps{0};
    std::thread mThread;
};
