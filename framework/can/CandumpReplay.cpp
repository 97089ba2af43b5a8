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

// False on a stop request. Pipes are waited on in short slices: a stop request is honoured
// while the writer is quiet or not there yet.
bool waitReadable(int fd, const std::atomic<bool>& stop)
{
    for (;;) {
        if (stop.load(std::memory_order_relaxed))
            return false;
        // Before a writer has come, a pipe is neither readable nor hung up.
        pollfd ready{fd, POLLIN, 0};
        if (::poll(&ready, 1, 20) > 0)
            return true;
    }
}

} // namespace

// Reads the log, parses it and hands its frames to the decoder in batches as they fall due,
// on whichever thread drives it: the pacer's when paced, the run's own otherwise. Text is read
// in small pieces just before it is parsed, while it is still in the cache, and no frame
// crosses to another core. A pipe with nothing to read leaves the cursor starved until the
// run's thread, waiting on the pipe, resumes it.
class CandumpReplay::Cursor : public CANPacer::Client {
public:
    enum class State { Running, Starved, Finished, Failed, Stopped };

    Cursor(CandumpReplay& replay, CANDecoder& decoder, const CANInterfaceRoutes& routes, int fd, bool pipe,
           CANPacer* pacer, TimePoint start, const std::atomic<bool>& stop)
        : mReplay(replay)
        , mDecoder(decoder)
        , mRoutes(routes)
        , mFd(fd)
        , mPipe(pipe)
        , mPacer(pacer)
        , mStart(start)
        , mStop(stop)
        , mState(pipe ? State::Starved : State::Running)
    {
        if (mPacer)
            mPacer->add(this);
    }
    ~Cursor() override
    {
        if (mPacer)
            mPacer->remove(this);
    }

    int readError() const { return mReadError; }

    // The run's thread: delivers (unpaced) or waits for the driver (paced) until the cursor
    // stops running.
    State runOrWait()
    {
        if (!mPacer)
            deliverDue(TimePoint::max());
        std::unique_lock<std::mutex> lock(mMutex);
        mChanged.wait(lock, [this] { return mState.load() != State::Running; });
        return mState.load();
    }

    // The pipe has something to read.
    void resume()
    {
        settle(State::Running);
        if (mPacer)
            mPacer->wake();
    }

    TimePoint deliverDue(TimePoint now) override
    {
        if (mState.load(std::memory_order_acquire) != State::Running)
            return TimePoint::max();
        State end = State::Running;
        TimePoint next = TimePoint::max();
        uint64_t frames = 0, errors = 0;
        size_t count = 0;
        int batchBus = 0;
        for (;;) {
            if (mStop.load(std::memory_order_relaxed)) {
                end = State::Stopped;
                break;
            }
            if (!mHavePending) {
                end = fetch();
                if (end != State::Running)
                    break;
                mHavePending = true;
            }
            if (mPendingDue > now) {
                next = mPendingDue;
                break;
            }
            if (count == BatchFrames || (count > 0 && mPendingBus != batchBus)) {
                mDecoder.decode(mBatch, count, batchBus);
                count = 0;
            }
            batchBus = mPendingBus;
            const CanFrame& pending = mRecord.frame;
            CanFrame& frame = mBatch[count++];
            frame.id = pending.id;
            frame.len = pending.len;
            frame.flags = pending.flags;
            std::memcpy(frame.data, pending.data, pending.len);
            errors += (pending.flags & CanFrame::ErrorReport) ? 1 : 0;
            ++frames;
            mHavePending = false;
        }
        if (count > 0)
            mDecoder.decode(mBatch, count, batchBus);
        if (frames > errors)
            mReplay.mFrames.fetch_add(frames - errors, std::memory_order_relaxed);
        if (errors)
            mReplay.mErrorFrames.fetch_add(errors, std::memory_order_relaxed);
        if (end != State::Running)
            settle(end);
        return next;
    }

private:
    static constexpr size_t BufferSize = 16 * 1024;
    static constexpr size_t BatchFrames = 64;

    void settle(State state)
    {
        {
            std::lock_guard<std::mutex> lock(mMutex);
            mState.store(state, std::memory_order_release);
        }
        mChanged.notify_all();
    }

    // Parses up to the next frame into mRecord: Running when there is one.
    State fetch()
    {
        std::string_view line;
        for (;;) {
            const State read = nextLine(line);
            if (read == State::Finished && startOver())
                continue;
            if (read != State::Running)
                return read;
            if (takeLine(line))
                return State::Running;
        }
    }

    // Running with the next line, Finished at the end of a pass, Starved or Failed.
    State nextLine(std::string_view& line)
    {
        for (;;) {
            char* const buffer = mBuffer.get();
            if (const void* nl = std::memchr(buffer + mPos, '\n', mHave - mPos)) {
                const size_t end = size_t(static_cast<const char*>(nl) - buffer);
                line = std::string_view(buffer + mPos, end - mPos);
                mPos = end + 1;
                if (!mSkippingLongLine)
                    return State::Running;
                mSkippingLongLine = false;
                continue;
            }
            if (mEof) {
                if (mPos == mHave || mSkippingLongLine)
                    return State::Finished;
                line = std::string_view(buffer + mPos, mHave - mPos);
                mPos = mHave;
                return State::Running;
            }
            if (mPos == 0 && mHave == BufferSize) {
                // A line longer than the buffer is no candump line; count it once.
                if (!mSkippingLongLine)
                    mReplay.mMalformed.fetch_add(1, std::memory_order_relaxed);
                mSkippingLongLine = true;
                mHave = 0;
            }
            std::memmove(buffer, buffer + mPos, mHave - mPos);
            mHave -= mPos;
            mPos = 0;
            const ssize_t n = ::read(mFd, buffer + mHave, BufferSize - mHave);
            if (n < 0 && errno == EINTR)
                continue;
            if (n < 0 && (errno == EAGAIN || errno == EWOULDBLOCK))
                return State::Starved;
            if (n < 0) {
                mReadError = errno;
                return State::Failed;
            }
            mEof = n == 0;
            mHave += size_t(n);
        }
    }

    // Starts the next pass when the log loops; false when it does not.
    bool startOver()
    {
        mReplay.mPasses.fetch_add(1);
        // A pipe's writer is gone: there is nothing to start over.
        if (!mReplay.mLoop || mPipe)
            return false;
        if (mPassFrames == 0) {
            Logger(nullptr, "WARN") << "CAN log" << mReplay.mPath << "holds no frames; not looped";
            return false;
        }
        // The next pass starts one mean gap after this one's last frame.
        const double span = mPassLast - mPassFirst;
        const double gap = mPassFrames > 1 ? span / double(mPassFrames - 1) : 0.1;
        mTimeOffset += span + gap;
        mPassFrames = 0;
        mPassHasTime = false;
        mEof = mSkippingLongLine = false;
        mPos = mHave = 0;
        ::lseek(mFd, 0, SEEK_SET);
        return true;
    }

    // True when the line is a frame to deliver; counts what it skips.
    bool takeLine(std::string_view line)
    {
        switch (parseCandumpLine(line, mRecord)) {
        case CandumpRecord::Kind::Blank:
            return false;
        case CandumpRecord::Kind::Malformed:
            mReplay.mMalformed.fetch_add(1, std::memory_order_relaxed);
            return false;
        case CandumpRecord::Kind::ErrorFrame:
            mRecord.frame.flags |= CanFrame::ErrorReport;
            break;
        case CandumpRecord::Kind::Frame:
            break;
        }
        if (mRecord.iface != mLastIface) {
            mLastIface.assign(mRecord.iface);
            mPendingBus = mRoutes.busFor(mRecord.iface);
        }
        // A time that goes back, or leaps ahead more than a day, is no recording's.
        if (mRecord.hasTime && mPassHasTime && (mRecord.time < mPassLast || mRecord.time - mPassLast > MaxTimeLeap)) {
            mReplay.mMalformed.fetch_add(1, std::memory_order_relaxed);
            return false;
        }
        if (mRecord.hasTime) {
            if (!mPassHasTime) {
                mPassFirst = mRecord.time;
                mPassHasTime = true;
            }
            mPassLast = mRecord.time;
            const double time = mRecord.time + mTimeOffset;
            if (mReplay.mSpeed > 0) {
                if (!mHaveLogStart) {
                    mHaveLogStart = true;
                    mLogStart = time;
                }
                mPendingDue = mStart
                    + std::chrono::duration_cast<TimePoint::duration>(std::chrono::duration<double>((time - mLogStart) / mReplay.mSpeed));
            }
        }
        if (!(mRecord.frame.flags & CanFrame::ErrorReport))
            ++mPassFrames;
        return true;
    }

    CandumpReplay& mReplay;
    CANDecoder& mDecoder;
    const CANInterfaceRoutes& mRoutes;
    const int mFd;
    const bool mPipe;
    CANPacer* const mPacer;
    const TimePoint mStart;
    const std::atomic<bool>& mStop;

    std::mutex mMutex;
    std::condition_variable mChanged;
    std::atomic<State> mState;

    // The driver's own.
    const std::unique_ptr<char[]> mBuffer{new char[BufferSize]};
    size_t mPos = 0, mHave = 0;
    bool mEof = false, mSkippingLongLine = false;
    int mReadError = 0;
    CandumpRecord mRecord;  // the pending frame once parsed
    bool mHavePending = false;
    TimePoint mPendingDue = mStart;  // lines without a time stamp follow their predecessor
    int mPendingBus = CANDecoder::Unrouted;
    // Interfaces rarely change from line to line: the last one's bus is kept.
    std::string mLastIface;
    bool mHaveLogStart = false, mPassHasTime = false;
    double mLogStart = 0, mTimeOffset = 0, mPassFirst = 0, mPassLast = 0;
    uint64_t mPassFrames = 0;
    CanFrame mBatch[BatchFrames];
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

    // The log's first frame is due as the run starts.
    const auto cursor = std::make_unique<Cursor>(*this, decoder, routes, fd, pipe, mSpeed > 0 ? &mPacer : nullptr,
        mPacer.clock().now(), stop);
    Cursor::State state;
    while ((state = cursor->runOrWait()) == Cursor::State::Starved) {
        if (!waitReadable(fd, stop))
            return Outcome::Stopped;
        cursor->resume();
    }
    switch (state) {
    case Cursor::State::Failed:
        Logger(nullptr, "ERROR") << "CAN log" << mPath << "read failed:" << std::strerror(cursor->readError());
        return Outcome::Failed;
    case Cursor::State::Finished:
        break;
    default:
        return Outcome::Stopped;
    }
    const Statistics s = statistics();
    Logger(nullptr, "INFO") << "CAN log" << mPath << "replayed:" << (unsigned long long)s.frames << "frames,"
                            << (unsigned long long)s.malformedLines << "malformed lines and"
                            << (unsigned long long)s.errorFrames << "error frames skipped";
    return Outcome::Finished;
}
