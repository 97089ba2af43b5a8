#include "can/SocketCANSource.h"

#include "can/CANDecoder.h"
#include "can/CanFrame.h"
#include "core/Logger.h"

#include <linux/can.h>
#include <linux/can/raw.h>
#include <net/if.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

SocketCANSource::SocketCANSource(const QString& iface)
    : mIface(iface)
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
    timeval timeout{0, 100 * 1000};  // wake up to notice a stop request
    ::setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof timeout);
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

    canfd_frame raw{};
    CanFrame frame;
    char control[CMSG_SPACE(sizeof(uint32_t))];
    uint32_t lastOverflow = 0;
    bool haveOverflow = false;
    Outcome outcome = Outcome::Stopped;
    while (!stop.load(std::memory_order_relaxed)) {
        iovec io{&raw, sizeof raw};
        msghdr msg{};
        msg.msg_iov = &io;
        msg.msg_iovlen = 1;
        msg.msg_control = control;
        msg.msg_controllen = sizeof control;
        const ssize_t n = ::recvmsg(fd, &msg, 0);
        if (n < 0) {
            if (errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR)
                continue;
            Logger(nullptr, "ERROR") << "CAN interface" << mIface << "failed:" << std::strerror(errno);
            mLastError = std::strerror(errno);
            outcome = Outcome::Failed;
            break;
        }
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
        if (n != CAN_MTU && n != CANFD_MTU)
            continue;
        if (raw.can_id & CAN_ERR_FLAG) {
            decoder.countErrorFrame(bus);
            continue;
        }
        frame.flags = 0;
        if (raw.can_id & CAN_EFF_FLAG) {
            frame.flags |= CanFrame::Extended;
            frame.id = raw.can_id & CAN_EFF_MASK;
        } else {
            frame.id = raw.can_id & CAN_SFF_MASK;
        }
        if (n == CANFD_MTU)
            frame.flags |= CanFrame::Fd;
        if (raw.can_id & CAN_RTR_FLAG)
            frame.flags |= CanFrame::Remote;
        frame.len = raw.len > CanFrame::MaxLength ? CanFrame::MaxLength : raw.len;
        std::memcpy(frame.data, raw.data, frame.len);
        decoder.decode(frame, bus);
    }
    ::close(fd);
    return outcome;
}
