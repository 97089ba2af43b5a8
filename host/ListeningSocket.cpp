#include "ListeningSocket.h"

#include <QFile>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace {

// Qt listens with a backlog of 50: a burst of clients beyond it would be turned away by the
// kernel before the event loop sees them.
constexpr int ListenBacklog = 128;

int failWithErrno(int fd, QString* reason)
{
    *reason = QString::fromLocal8Bit(std::strerror(errno));
    if (fd >= 0)
        ::close(fd);
    return -1;
}

} // namespace

int listenOnLoopback(int port, int* boundPort, QString* reason)
{
    const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd < 0)
        return failWithErrno(fd, reason);
    // Not SO_REUSEPORT: a second bench must not share the port and take half the requests.
    int yes = 1;
    ::setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(uint16_t(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    if (::bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 || ::listen(fd, ListenBacklog) != 0
        || ::getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length) != 0)
        return failWithErrno(fd, reason);
    *boundPort = ntohs(address.sin_port);
    return fd;
}

int listenOnLocalPath(const QString& path, QString* reason)
{
    const QByteArray name = QFile::encodeName(path);
    sockaddr_un address{};
    if (name.size() >= int(sizeof address.sun_path)) {
        *reason = QStringLiteral("the path is too long for a socket");
        return -1;
    }
    const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd < 0)
        return failWithErrno(fd, reason);
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, name.constData(), size_t(name.size()));
    if (::bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0
        || ::chmod(name.constData(), S_IRWXU) != 0 || ::listen(fd, ListenBacklog) != 0)
        return failWithErrno(fd, reason);
    return fd;
}
