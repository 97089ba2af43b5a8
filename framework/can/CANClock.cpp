#include "can/CANClock.h"

#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <climits>
#include <ctime>

namespace {

// A wake-up costs tens of microseconds of CPU on a virtual machine; a bare futex with an
// absolute deadline is the cheapest: one system call, none of a condition variable's
// bookkeeping around it.
class SteadyClock : public CANClock {
public:
    TimePoint now() const override { return std::chrono::steady_clock::now(); }

    void sleepUntil(const std::atomic<uint32_t>& wakeUps, uint32_t seen, TimePoint due) override
    {
        timespec deadline{};
        const bool timed = due != TimePoint::max();
        if (timed) {
            const auto ns = std::chrono::duration_cast<std::chrono::nanoseconds>(due.time_since_epoch()).count();
            deadline.tv_sec = time_t(ns / 1000000000);
            deadline.tv_nsec = long(ns % 1000000000);
        }
        // Returns early on a signal or a spurious wake-up: the caller looks again either way.
        ::syscall(SYS_futex, futexWord(wakeUps), FUTEX_WAIT_BITSET_PRIVATE, seen, timed ? &deadline : nullptr, nullptr,
            FUTEX_BITSET_MATCH_ANY);
    }

    void wake(std::atomic<uint32_t>& wakeUps) override
    {
        wakeUps.fetch_add(1);
        ::syscall(SYS_futex, futexWord(wakeUps), FUTEX_WAKE_PRIVATE, INT_MAX, nullptr, nullptr, 0);
    }

private:
    static_assert(sizeof(std::atomic<uint32_t>) == sizeof(uint32_t) && std::atomic<uint32_t>::is_always_lock_free,
        "the kernel waits on the atomic's own word");
    static const uint32_t* futexWord(const std::atomic<uint32_t>& a) { return reinterpret_cast<const uint32_t*>(&a); }
};

} // namespace

CANClock::~CANClock() = default;

CANClock& CANClock::steady()
{
    static SteadyClock clock;
    return clock;
}
