// The bench's network services bound at start and loaded later from their module: clients that
// came in between are served once the services take the sockets over.
#include "BenchNetwork.h"

#include "ListeningSocket.h"
#include "TestSupport.h"
#include "hostcommand/HostCommandReport.h"
#include "services/PlatformJournal.h"

#include <QLocalSocket>
#include <QTemporaryDir>

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <string>

namespace {

int connectToLoopback(int port)
{
    const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    // Only a safety net: the answer comes as soon as the services are loaded.
    timeval timeout{15, 0};
    ::setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof timeout);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(uint16_t(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (::connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
        ::close(fd);
        return -1;
    }
    return fd;
}

std::string readAnswerHead(int fd)
{
    std::string answer;
    char buffer[4096];
    while (answer.find("\r\n\r\n") == std::string::npos) {
        const ssize_t n = ::recv(fd, buffer, sizeof buffer, 0);
        if (n <= 0)
            break;
        answer.append(buffer, size_t(n));
    }
    return answer.substr(0, answer.find("\r\n"));
}

int portOf(const QString& url)
{
    return url.section(QLatin1Char(':'), 2).section(QLatin1Char('/'), 0, 0).toInt();
}

} // namespace

TEST(BenchNetworkTest, ClientsThatCameBeforeTheServicesLoadedAreServed)
{
    QTemporaryDir socketFolder;
    ASSERT_TRUE(socketFolder.isValid());
    PlatformJournal::instance()->clear();
    BenchNetwork network;
    QString reason;
    ASSERT_TRUE(network.bindServicePort(0, &reason)) << reason.toStdString();
    ASSERT_TRUE(network.bindHostCommandSocket(socketFolder.path(), &reason)) << reason.toStdString();
    const int port = portOf(network.serviceUrl());
    ASSERT_GT(port, 0) << network.serviceUrl().toStdString();

    // A page asks and a host command reports while the bench paints its first frame.
    const int page = connectToLoopback(port);
    ASSERT_GE(page, 0);
    const std::string request = "GET /api/values HTTP/1.1\r\nHost: 127.0.0.1:" + std::to_string(port) + "\r\n\r\n";
    ASSERT_EQ(::send(page, request.data(), request.size(), MSG_NOSIGNAL), ssize_t(request.size()));
    QLocalSocket command;
    command.connectToServer(qEnvironmentVariable(HostCommandReport::SocketVariable));
    ASSERT_TRUE(command.waitForConnected(15000)) << command.errorString().toStdString();
    command.write(HostCommandReport::encode(QStringLiteral("bt-reset"), {QStringLiteral("now")}));
    ASSERT_TRUE(command.waitForBytesWritten(15000));
    command.disconnectFromServer();

    network.start();
    EXPECT_EQ(readAnswerHead(page), "HTTP/1.1 200 OK");
    ::close(page);
    EXPECT_TRUE(waitFor([] { return PlatformJournal::instance()->contains(QStringLiteral("host-command.bt-reset(now)")); }))
        << PlatformJournal::instance()->lines().join(" | ").toStdString();
    // Whoever comes later is served as before.
    const int later = connectToLoopback(port);
    ASSERT_GE(later, 0);
    ASSERT_EQ(::send(later, request.data(), request.size(), MSG_NOSIGNAL), ssize_t(request.size()));
    EXPECT_EQ(readAnswerHead(later), "HTTP/1.1 200 OK");
    ::close(later);
}

TEST(BenchNetworkTest, ATakenPortIsReportedAtOnceAndLeavesNoUrl)
{
    int port = 0;
    QString reason;
    const int taken = listenOnLoopback(0, &port, &reason);
    ASSERT_GE(taken, 0) << reason.toStdString();
    BenchNetwork network;
    EXPECT_FALSE(network.bindServicePort(port, &reason));
    EXPECT_TRUE(reason.contains(QStringLiteral("--service-port"))) << reason.toStdString();
    EXPECT_TRUE(network.serviceUrl().isEmpty());
    ::close(taken);
}
