#include "can/CandumpReplay.h"

#include "can/CANDecoder.h"
#include "can/CandumpParser.h"
#include "core/Logger.h"

#include <QFile>

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <cstring>
#include <memory>
#include <mutex>

namespace {

using TimePoint = CANClock::TimePoint;
constexpr double MaxTimeLeap = 24 * 3600.0;

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

// Frames read ahead of their time, handed from the reading thread to the pacer's in batches:
// one writer, one reader, no lock or allocation per frame. Unpaced, the reading thread
// decodes them itself whenever it publishes.
class CandumpReplay::FrameQueue : public CANPacer::Client {
public:
    static constexpr size_t Capacity = 4096;  // a power of two

    FrameQueue(CandumpReplay& replay, CANDecoder& decoder, CANPacer* pacer, const std::atomic<bool>& stop)
        : mReplay(replay)
        , mDecoder(decoder)
        , mPacer(pacer)
        , mStop(stop)
    {
        if (mPacer)
            mPacer->add(this);
    }
    ~FrameQueue() override
    {
        if (mPacer)
            mPacer->remove(this);
    }

    // False when a stop request came while it waited for room.
    bool push(const CanFrame& frame, int bus, TimePoint due)
    {
        if (mWritten - mRead.load(std::memory_order_acquire) == Capacity) {
            publish();
            if (!waitUntil([this] { return mWritten - mRead.load() < Capacity; }))
                return false;
        }
        const size_t i = mWritten & Mask;
        Entry& e = mEntries[i];
        e.due = due;
        e.id = frame.id;
        e.len = frame.len;
        e.flags = frame.flags;
        e.bus = int16_t(bus);
        std::memcpy(e.data, frame.data, sizeof e.data);
        if (frame.len > sizeof e.data)
            std::memcpy(mLongData[i], frame.data + sizeof e.data, frame.len - sizeof e.data);
        if (++mWritten - mPublished.load(std::memory_order_relaxed) >= Capacity / 8)
            publish();
        return true;
    }

    // Makes what was pushed deliverable.
    void publish()
    {
        mPublished.store(mWritten);
        if (!mPacer)
            deliverDue(TimePoint::max());
        else if (mIdle.exchange(false))
            mPacer->wake();
    }

    // Waits until every frame is delivered; false on a stop request.
    bool drain()
    {
        publish();
        return waitUntil([this] { return mRead.load() == mWritten; });
    }

    TimePoint deliverDue(TimePoint now) override
    {
        size_t read = mRead.load(std::memory_order_relaxed);
        const size_t published = mPublished.load(std::memory_order_acquire);
        uint64_t frames = 0, errors = 0;
        size_t count = 0;
        int batchBus = 0;
        while (read != published && mEntries[read & Mask].due <= now && !mStop.load(std::memory_order_relaxed)) {
            const size_t i = read & Mask;
            const Entry& e = mEntries[i];
            if (count == BatchFrames || (count > 0 && e.bus != batchBus)) {
                mDecoder.decode(mBatch, count, batchBus);
                count = 0;
            }
            batchBus = e.bus;
            CanFrame& frame = mBatch[count++];
            frame.id = e.id;
            frame.len = e.len;
            frame.flags = e.flags;
            std::memcpy(frame.data, e.data, sizeof e.data);
            if (e.len > sizeof e.data)
                std::memcpy(frame.data + sizeof e.data, mLongData[i], e.len - sizeof e.data);
            errors += (e.flags & CanFrame::ErrorReport) ? 1 : 0;
            ++frames;
            ++read;
        }
        if (count > 0)
            mDecoder.decode(mBatch, count, batchBus);
        if (frames > errors)
            mReplay.mFrames.fetch_add(frames - errors, std::memory_order_relaxed);
        if (errors)
            mReplay.mErrorFrames.fetch_add(errors, std::memory_order_relaxed);
        mRead.store(read);
        const bool stopping = mStop.load(std::memory_order_relaxed);
        if (mReaderWaiting.load() && (stopping || published - read <= Capacity / 2)) {
            std::lock_guard<std::mutex> lock(mMutex);
            mRoom.notify_one();
        }
        if (stopping)
            return TimePoint::max();
        if (read != published)
            return mEntries[read & Mask].due;
        // Out of frames: the reader wakes the pacer when it publishes more.
        mIdle.store(true);
        if (mPublished.load() != read) {
            mIdle.store(false);
            return mEntries[read & Mask].due;
        }
        return TimePoint::max();
    }

private:
    static constexpr size_t Mask = Capacity - 1;

    template <typename Done>
    bool waitUntil(Done done)
    {
        if (!mPacer) {
            deliverDue(TimePoint::max());
            return !mStop.load();
        }
        std::unique_lock<std::mutex> lock(mMutex);
        mReaderWaiting.store(true);
        while (!done() && !mStop.load())
            mRoom.wait(lock);
        mReaderWaiting.store(false);
        return !mStop.load();
    }

    CandumpReplay& mReplay;
    CANDecoder& mDecoder;
    CANPacer* const mPacer;
    const std::atomic<bool>& mStop;
    // Classic frames fit an entry; a CAN FD frame's bytes past the eighth wait beside it. The
    // pacer's thread reads what another core wrote: small entries cross in fewer cache lines.
    struct Entry {
        TimePoint due;
        uint32_t id;
        uint8_t len, flags;
        int16_t bus;
        uint8_t data[8];
    };
    static constexpr size_t BatchFrames = 64;
    Entry mEntries[Capacity];
    uint8_t mLongData[Capacity][CanFrame::MaxLength - 8];
    CanFrame mBatch[BatchFrames];  // the pacer's
    size_t mWritten = 0;  // the reader's own
    std::atomic<size_t> mPublished{0}, mRead{0};
    std::atomic<bool> mIdle{true}, mReaderWaiting{false};
    std::mutex mMutex;
    std::condition_variable mRoom;
};

CandumpReplay::CandumpReplay(const QString& path, double speed, bool loop, CANPacer& pacer)
    : mPath(path)
    , mSpeed(speed < 0 ? 0 : speed)
    , mLoop(loop)
    , mPacer(pacer)
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
    // The log's first frame is due as the run starts; reading up to it is already late.
    const TimePoint wallStart = mPacer.clock().now();
    TimePoint lastDue = wallStart;
    const auto queue = std::make_unique<FrameQueue>(*this, decoder, paced ? &mPacer : nullptr, stop);
    bool haveStart = false;
    double logStart = 0, lastTime = 0, timeOffset = 0;
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
            record.frame.flags |= CanFrame::ErrorReport;
            break;
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
                }
                lastDue = wallStart
                    + std::chrono::duration_cast<TimePoint::duration>(std::chrono::duration<double>((lastTime - logStart) / mSpeed));
            }
        }
        if (!(record.frame.flags & CanFrame::ErrorReport))
            ++passFrames;
        return queue->push(record.frame, lastBus, lastDue);
    };

    for (;;) {
        size_t have = 0;
        bool skippingLongLine = false;
        bool eof = false;
        while (!eof) {
            if (stop.load(std::memory_order_relaxed))
                return Outcome::Stopped;
            // What was read so far goes out before a read that may wait for a pipe's writer.
            queue->publish();
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
        queue->publish();
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
    if (!queue->drain())
        return Outcome::Stopped;
    const Statistics s = statistics();
    Logger(nullptr, "INFO") << "CAN log" << mPath << "replayed:" << (unsigned long long)s.frames << "frames,"
                            << (unsigned long long)s.malformedLines << "malformed lines and"
                            << (unsigned long long)s.errorFrames << "error frames skipped";
    return stop.load() ? Outcome::Stopped : Outcome::Finished;
}
