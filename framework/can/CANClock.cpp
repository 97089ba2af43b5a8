#include "can/CANClock.h"

namespace {

class SteadyClock : public CANClock {
public:
    TimePoint now() const override { return std::chrono::steady_clock::now(); }
    void waitUntil(std::unique_lock<std::mutex>& lock, std::condition_variable& wake, TimePoint due) override
    {
        if (due == TimePoint::max())
            wake.wait(lock);
        else
            wake.wait_until(lock, due);
    }
};

} // namespace

CANClock::~CANClock() = default;

CANClock& CANClock::steady()
{
    static SteadyClock clock;
    return clock;
}
