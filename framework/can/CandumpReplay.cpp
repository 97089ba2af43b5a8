#include "can/CandumpReplay.h"

#include "can/CANDecoder.h"
#include "can/CandumpParser.h"
#include "core/Logger.h"

#include <QFile>

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <memory>
#include <thread>

namespace {

using Clock = std::chrono::steady_clock;
constexpr auto BatchDelay = std::chrono::milliseconds(2);
constexpr double MaxTimeLeap = 24 * 3600.0;

// Sleeps until `due` in short slices so a stop request is honoured promptly.
bool sleepUntil(Clock::time_point due, const std::atomic<bool>& stop)
{
    constexpr auto slice = std::chrono::milliseconds(20);
    for (;;) {
        if (stop.load(std::memory_order_relaxed))
            return false;
        const auto now = Clock::now();
        if (now >= due)
            return true;
        std::this_thread::sleep_for(std::min<Clock::duration>(due - now, slice));
    }
}

struct FdCloser {
    int fd;
    ~FdCloser() { ::close(fd); }
};

// Reads what is there, up to `size`: 0 at the end, -1 on an error. A pipe is waited on in short
// slices, so a stop request is honoured while its writer is quiet or not there yet.
ssize_t readSome(int fd, bool pipe, char* into, size_t size, const std::atomic<bool>& stop)
{
    for (;;) {
        if (pipe) {
            pollfd ready{fd, POLLIN, 0};
            if (stop.load(std::memory_order_relaxed))
                return 0;
            // Before a writer has come, a pipe is neither readable nor hung up.
            if (::poll(&ready, 1, 20) <= 0)
                continue;
        }
        const ssize_t n = ::read(fd, into, size);
        if (n >= 0 || (errno != EINTR && errno != EAGAIN))
            return n;
    }
}

} // namespace

CandumpReplay::CandumpReplay(const QString& path, double speed, bool loop)
    : mPath(path)
    , mSpeed(speed < 0 ? 0 : speed)
    , mLoop(loop)
{
}

QString CandumpReplay::description() const
{
    return QStringLiteral("candump log %1").arg(mPath);
}

CandumpReplay::Statistics CandumpReplay::statistics() const
{
    return {mFrames.load(), mMalformed.load(), mErrorFrames.load(), mPasses.load()};
}

CANFrameSource::Outcome CandumpReplay::run(CANDecoder& decoder, const CANInterfaceRoutes& routes,
                                           const std::atomic<bool>& stop)
{
    // Not blocking: opening a pipe would otherwise wait for its writer, stop requests or not.
    const int fd = ::open(QFile::encodeName(mPath).constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0) {
        Logger(nullptr, "ERROR") << "CAN log" << mPath << "cannot be read:" << std::strerror(errno);
        return Outcome::Failed;
    }
    const FdCloser closer{fd};
    struct stat st;
    const bool pipe = ::fstat(fd, &st) == 0 && S_ISFIFO(st.st_mode);
    if (!pipe)
        ::fcntl(fd, F_SETFL, ::fcntl(fd, F_GETFL) & ~O_NONBLOCK);

    constexpr size_t BufferSize = 1 << 20;
    std::unique_ptr<char[]> buffer(new char[BufferSize]);
    CandumpRecord record;
    // Interfaces rarely change from line to line: remember the last one's bus.
    std::string lastIface;
    int lastBus = -1;

    const bool paced = mSpeed > 0;
    bool haveStart = false;
    double logStart = 0, lastTime = 0, timeOffset = 0;
    Clock::time_point wallStart;
    uint64_t passFrames = 0;
    double passFirst = 0, passLast = 0;
    bool passHasTime = false;

    auto handleLine = [&](std::string_view line) {
        switch (parseCandumpLine(line, record)) {
        case CandumpRecord::Kind::Blank:
            return true;
        case CandumpRecord::Kind::Malformed:
            mMalformed.fetch_add(1, std::memory_order_relaxed);
            return true;
        case CandumpRecord::Kind::ErrorFrame:
        case CandumpRecord::Kind::Frame:
            break;
        }
        if (record.iface != lastIface) {
            lastIface.assign(record.iface);
            lastBus = routes.busFor(record.iface);
        }
        // A time that goes back, or leaps ahead more than a day, is no recording's.
        if (record.hasTime && passHasTime && (record.time < passLast || record.time - passLast > MaxTimeLeap)) {
            mMalformed.fetch_add(1, std::memory_order_relaxed);
            return true;
        }
        if (record.hasTime) {
            if (!passHasTime) {
                passFirst = record.time;
                passHasTime = true;
            }
            passLast = record.time;
            lastTime = record.time + timeOffset;
            if (paced) {
                if (!haveStart) {
                    haveStart = true;
                    logStart = lastTime;
                    wallStart = Clock::now();
                }
                const auto due = wallStart
                    + std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>((lastTime - logStart) / mSpeed));
                // Waking once per frame costs more than the frame: wait a little past the due
                // time and then deliver everything due by then in one go.
                if (due > Clock::now() && !sleepUntil(due + BatchDelay, stop))
                    return false;
            }
        }
        if (record.kind == CandumpRecord::Kind::ErrorFrame) {
            decoder.countErrorFrame(lastBus);
            mErrorFrames.fetch_add(1, std::memory_order_relaxed);
            return true;
        }
        decoder.decode(record.frame, lastBus);
        mFrames.fetch_add(1, std::memory_order_relaxed);
        ++passFrames;
        return true;
    };

    for (;;) {
        size_t have = 0;
        bool skippingLongLine = false;
        bool eof = false;
        while (!eof) {
            if (stop.load(std::memory_order_relaxed))
                return Outcome::Stopped;
            const ssize_t n = readSome(fd, pipe, buffer.get() + have, BufferSize - have, stop);
            if (n < 0) {
                Logger(nullptr, "ERROR") << "CAN log" << mPath << "read failed:" << std::strerror(errno);
                return Outcome::Failed;
            }
            if (stop.load(std::memory_order_relaxed))
                return Outcome::Stopped;
            eof = n == 0;
            have += size_t(n);
            size_t pos = 0;
            for (;;) {
                const void* nl = std::memchr(buffer.get() + pos, '\n', have - pos);
                if (!nl)
                    break;
                const size_t end = size_t(static_cast<const char*>(nl) - buffer.get());
                if (skippingLongLine)
                    skippingLongLine = false;
                else if (!handleLine(std::string_view(buffer.get() + pos, end - pos)))
                    return Outcome::Stopped;
                pos = end + 1;
            }
            if (eof && pos < have && !skippingLongLine) {
                if (!handleLine(std::string_view(buffer.get() + pos, have - pos)))
                    return Outcome::Stopped;
                pos = have;
            }
            if (pos == 0 && have == BufferSize) {
                // A line longer than the buffer is no candump line; count it once.
                if (!skippingLongLine)
                    mMalformed.fetch_add(1, std::memory_order_relaxed);
                skippingLongLine = true;
                have = 0;
                continue;
            }
            std::memmove(buffer.get(), buffer.get() + pos, have - pos);
            have -= pos;
        }
        mPasses.fetch_add(1);
        // A pipe's writer is gone: there is nothing to start over.
        if (!mLoop || pipe || stop.load())
            break;
        if (passFrames == 0) {
            Logger(nullptr, "WARN") << "CAN log" << mPath << "holds no frames; not looped";
            break;
        }
        // The next pass starts one mean gap after this one's last frame.
        const double span = passLast - passFirst;
        const double gap = passFrames > 1 ? span / double(passFrames - 1) : 0.1;
        timeOffset += span + gap;
        passFrames = 0;
        passHasTime = false;
        ::lseek(fd, 0, SEEK_SET);
    }
    const Statistics s = statistics();
    Logger(nullptr, "INFO") << "CAN log" << mPath << "replayed:" << (unsigned long long)s.frames << "frames,"
                            << (unsigned long long)s.malformedLines << "malformed lines and"
                            << (unsigned long long)s.errorFrames << "error frames skipped";
    return stop.load() ? Outcome::Stopped : Outcome::Finished;
}
