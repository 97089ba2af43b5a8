#include "can/SocketCANSource.h"

#include "can/CANDecoder.h"
#include "can/CanFrame.h"
#include "core/Logger.h"

#include <linux/can.h>
#include <linux/can/raw.h>
#include <net/if.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <memory>

namespace {

constexpr int BatchFrames = 64;
constexpr int QuietLookMs = 100;

// One recvmmsg worth of datagrams, with room for each one's overflow count.
struct Batch {
    canfd_frame raw[BatchFrames];
    iovec io[BatchFrames];
    char control[BatchFrames][CMSG_SPACE(sizeof(uint32_t))];
    mmsghdr messages[BatchFrames];
    CanFrame frames[BatchFrames];

    Batch()
    {
        for (int i = 0; i < BatchFrames; ++i) {
            io[i] = {&raw[i], sizeof raw[i]};
            messages[i].msg_hdr = msghdr{};
            messages[i].msg_hdr.msg_iov = &io[i];
            messages[i].msg_hdr.msg_iovlen = 1;
            messages[i].msg_hdr.msg_control = control[i];
        }
    }
    // The kernel shortens the control length it fills in; each call starts from the whole.
    void prepare()
    {
        for (int i = 0; i < BatchFrames; ++i)
            messages[i].msg_hdr.msg_controllen = sizeof control[i];
    }
};

} // namespace

SocketCANSource::SocketCANSource(const QString& iface, CANClock& clock)
    : mIface(iface)
    , mClock(clock)
{
}

QString SocketCANSource::description() const
{
    return QStringLiteral("CAN interface %1").arg(mIface);
}

int SocketCANSource::openSocket(const std::string& iface, std::string* error)
{
    auto fail = [error](const std::string& what, int fd) {
        *error = what + ": " + std::strerror(errno);
        if (fd >= 0)
            ::close(fd);
        return -1;
    };
    if (iface.empty() || iface.size() >= IFNAMSIZ) {
        *error = "not an interface name";
        return -1;
    }
    const int fd = ::socket(PF_CAN, SOCK_RAW | SOCK_CLOEXEC, CAN_RAW);
    if (fd < 0)
        return fail("no CAN sockets on this system", -1);
    const unsigned index = if_nametoindex(iface.c_str());
    if (index == 0)
        return fail("no such interface", fd);
    const int on = 1;
    if (::setsockopt(fd, SOL_CAN_RAW, CAN_RAW_FD_FRAMES, &on, sizeof on) < 0)
        return fail("CAN FD frames unavailable", fd);
    // Overflow counts arrive with every frame once this is on; failing it only loses the count.
    ::setsockopt(fd, SOL_SOCKET, SO_RXQ_OVFL, &on, sizeof on);
    // Frames gather for a tick between reads; the kernel may cap this, which only costs drops.
    const int buffer = 1 << 20;
    ::setsockopt(fd, SOL_SOCKET, SO_RCVBUF, &buffer, sizeof buffer);
    sockaddr_can address{};
    address.can_family = AF_CAN;
    address.can_ifindex = int(index);
    if (::bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) < 0)
        return fail("cannot bind", fd);
    return fd;
}

CANFrameSource::Outcome SocketCANSource::run(CANDecoder& decoder, const CANInterfaceRoutes& routes,
                                             const std::atomic<bool>& stop)
{
    const int bus = routes.busFor(mIface.toStdString());
    std::string error;
    const int fd = openSocket(mIface.toStdString(), &error);
    if (fd < 0) {
        if (error != mLastError)
            Logger(nullptr, "ERROR") << "CAN interface" << mIface << "cannot be read:" << error;
        mLastError = error;
        return Outcome::Failed;
    }
    if (!mLastError.empty())
        Logger(nullptr, "INFO") << "CAN interface" << mIface << "readable again";
    mLastError.clear();

    const Outcome outcome = readFrames(fd, decoder, bus, stop, mClock, &mFrames, &mReads);
    if (outcome == Outcome::Failed) {
        mLastError = std::strerror(errno);
        Logger(nullptr, "ERROR") << "CAN interface" << mIface << "failed:" << QString::fromStdString(mLastError);
    }
    ::close(fd);
    return outcome;
}

CANFrameSource::Outcome SocketCANSource::readFrames(int fd, CANDecoder& decoder, int bus, const std::atomic<bool>& stop,
                                                    CANClock& clock, std::atomic<uint64_t>* frames,
                                                    std::atomic<uint64_t>* reads)
{
    const auto batch = std::make_unique<Batch>();
    uint32_t lastOverflow = 0;
    bool haveOverflow = false;
    const std::atomic<uint32_t> noWakeUps{0};
    while (!stop.load(std::memory_order_relaxed)) {
        pollfd ready{fd, POLLIN, 0};
        const int polled = ::poll(&ready, 1, QuietLookMs);
        if (polled < 0 && errno != EINTR)
            return Outcome::Failed;
        if (polled <= 0)
            continue;
        if (ready.revents & (POLLERR | POLLNVAL))
            return Outcome::Failed;
        // Drain what has gathered, a batch per call.
        for (;;) {
            batch->prepare();
            const int n = ::recvmmsg(fd, batch->messages, BatchFrames, MSG_DONTWAIT, nullptr);
            if (n < 0) {
                if (errno == EINTR)
                    continue;
                if (errno == EAGAIN || errno == EWOULDBLOCK)
                    break;
                return Outcome::Failed;
            }
            int count = 0;
            bool ended = false;
            for (int i = 0; i < n; ++i) {
                msghdr& msg = batch->messages[i].msg_hdr;
                for (cmsghdr* c = CMSG_FIRSTHDR(&msg); c; c = CMSG_NXTHDR(&msg, c)) {
                    if (c->cmsg_level == SOL_SOCKET && c->cmsg_type == SO_RXQ_OVFL) {
                        uint32_t overflow = 0;
                        std::memcpy(&overflow, CMSG_DATA(c), sizeof overflow);
                        if (haveOverflow && overflow > lastOverflow)
                            decoder.countDropped(bus, overflow - lastOverflow);
                        lastOverflow = overflow;
                        haveOverflow = true;
                    }
                }
                const unsigned size = batch->messages[i].msg_len;
                // An empty datagram on a connected socket is its other end hanging up.
                ended |= size == 0;
                if (size != CAN_MTU && size != CANFD_MTU)
                    continue;
                const canfd_frame& raw = batch->raw[i];
                CanFrame& frame = batch->frames[count++];
                frame.flags = 0;
                if (raw.can_id & CAN_ERR_FLAG)
                    frame.flags |= CanFrame::ErrorReport;
                if (raw.can_id & CAN_EFF_FLAG) {
                    frame.flags |= CanFrame::Extended;
                    frame.id = raw.can_id & CAN_EFF_MASK;
                } else {
                    frame.id = raw.can_id & CAN_SFF_MASK;
                }
                if (size == CANFD_MTU)
                    frame.flags |= CanFrame::Fd;
                if (raw.can_id & CAN_RTR_FLAG)
                    frame.flags |= CanFrame::Remote;
                frame.len = raw.len > CanFrame::MaxLength ? CanFrame::MaxLength : raw.len;
                std::memcpy(frame.data, raw.data, frame.len);
            }
            if (count > 0) {
                decoder.decode(batch->frames, size_t(count), bus);
                if (frames)
                    frames->fetch_add(uint64_t(count), std::memory_order_relaxed);
                if (reads)
                    reads->fetch_add(1, std::memory_order_relaxed);
            }
            if (ended)
                return Outcome::Finished;
            if (n < BatchFrames)
                break;
        }
        if (ready.revents & POLLHUP)
            return Outcome::Finished;
        // More frames gather in the socket meanwhile: the next batch is a tick away.
        clock.sleepUntil(noWakeUps, 0, CANPacer::alignUp(clock.now() + std::chrono::nanoseconds(1)));
    }
    return Outcome::Stopped;
}
