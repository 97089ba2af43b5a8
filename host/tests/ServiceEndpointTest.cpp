// The bench's service endpoint as a client on the loopback sees it, bad clients included.
#include "ServiceEndpoint.h"

#include "core/DataValues.h"
#include "display/DisplayDevice.h"
#include "services/PlatformJournal.h"
#include "views/DisplayView.h"
#include "TestSupport.h"

#include <httplib.h>

#include <QHostAddress>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkInterface>

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

namespace {

// Sends raw bytes and answers the status line the server replied with ("" when it only closed).
std::string rawExchange(const std::string& address, int port, const std::string& bytes, bool* connected = nullptr)
{
    const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
    timeval timeout{10, 0};
    ::setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof timeout);
    ::setsockopt(fd, SOL_SOCKET, SO_SNDTIMEO, &timeout, sizeof timeout);
    sockaddr_in to{};
    to.sin_family = AF_INET;
    to.sin_port = htons(uint16_t(port));
    ::inet_pton(AF_INET, address.c_str(), &to.sin_addr);
    const bool ok = ::connect(fd, reinterpret_cast<sockaddr*>(&to), sizeof to) == 0;
    if (connected)
        *connected = ok;
    std::string reply;
    if (ok) {
        for (size_t sent = 0; sent < bytes.size();) {
            const ssize_t n = ::send(fd, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
            if (n <= 0)
                break; // the server may stop reading and answer early
            sent += size_t(n);
        }
        char buffer[4096];
        ssize_t n;
        while ((n = ::recv(fd, buffer, sizeof buffer, 0)) > 0) {
            reply.append(buffer, size_t(n));
            if (reply.find("\r\n") != std::string::npos)
                break;
        }
    }
    ::close(fd);
    return reply.substr(0, reply.find("\r\n"));
}

class ServiceEndpointTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        QString error;
        ASSERT_TRUE(endpoint.start(0, &error)) << error.toStdString();
        ASSERT_GT(endpoint.port(), 0);
        client = std::make_unique<httplib::Client>("127.0.0.1", endpoint.port());
        client->set_read_timeout(10, 0);
    }
    void TearDown() override
    {
        DataValue::EventLocker lock(GUI_speedLimitRequest);
        GUI_speedLimitRequest.revertPendingNoLock();
    }

    QJsonObject getJson(const char* path)
    {
        const auto res = client->Get(path);
        EXPECT_TRUE(res) << path;
        if (!res)
            return {};
        EXPECT_EQ(res->status, 200) << path;
        EXPECT_EQ(res->get_header_value("Content-Type"), "application/json");
        return QJsonDocument::fromJson(QByteArray::fromStdString(res->body)).object();
    }

    static QJsonObject valueNamed(const QJsonArray& values, const QString& name)
    {
        for (const QJsonValue& v : values) {
            if (v["name"].toString() == name)
                return v.toObject();
        }
        return {};
    }

    ServiceEndpoint endpoint;
    std::unique_ptr<httplib::Client> client;
};

} // namespace

TEST_F(ServiceEndpointTest, ServesTheCarAsAPageAndAsJsonWithPendingRequests)
{
    GUI_speedLimitRequest.setValue(85);
    GUI_speedLimitRequest.request(90.0);
    GUI_enableSpeedLimitRequest.setValue(true);
    PlatformJournal::record(QStringLiteral("NetManager"), QStringLiteral("restartModem"));
    ASSERT_TRUE(waitFor([] { return PlatformJournal::instance()->contains(QStringLiteral("NetManager.restartModem()")); }));

    const QJsonObject values = getJson("/api/values");
    EXPECT_EQ(values["values"].toArray().size(), DataValueRegistry::all().size());
    const QJsonObject limit = valueNamed(values["values"].toArray(), "GUI_speedLimitRequest");
    EXPECT_EQ(limit["type"].toString(), "real");
    EXPECT_EQ(limit["value"].toDouble(), 85.0);
    EXPECT_TRUE(limit["pending"].toBool());
    EXPECT_EQ(limit["pendingValue"].toDouble(), 90.0);
    EXPECT_EQ(limit["display"].toString(), GUI_speedLimitRequest.toDisplayString());
    const QJsonObject enabled = valueNamed(values["values"].toArray(), "GUI_enableSpeedLimitRequest");
    EXPECT_TRUE(enabled["value"].toBool());
    EXPECT_FALSE(enabled["pending"].toBool());
    EXPECT_FALSE(enabled.contains("pendingValue"));

    const QJsonObject journal = getJson("/api/journal");
    const QJsonArray requests = journal["requests"].toArray();
    ASSERT_FALSE(requests.isEmpty());
    EXPECT_EQ(requests.last()["text"].toString(), "NetManager.restartModem()");

    const QJsonObject state = getJson("/api/state");
    EXPECT_TRUE(state["values"].isArray());
    EXPECT_TRUE(state["journal"]["requests"].isArray());
    EXPECT_TRUE(state["can"]["buses"].isArray());
    EXPECT_EQ(state["can"]["unrouted"]["name"].toString(), "unrouted");

    const auto page = client->Get("/");
    ASSERT_TRUE(page);
    EXPECT_EQ(page->status, 200);
    EXPECT_EQ(page->get_header_value("Content-Type"), "text/html; charset=utf-8");
    EXPECT_NE(page->body.find("/api/state"), std::string::npos);
    EXPECT_NE(page->body.find("Platform journal"), std::string::npos);
}

TEST_F(ServiceEndpointTest, IsReadOnlyAndAnswersBadRequestsWithClientErrors)
{
    GUI_developerMode.setValue(false);
    const auto post = client->Post("/api/values", "GUI_developerMode=true", "application/x-www-form-urlencoded");
    ASSERT_TRUE(post);
    EXPECT_EQ(post->status, 405);
    EXPECT_EQ(post->get_header_value("Allow"), "GET, HEAD");
    const auto put = client->Put("/api/values/GUI_developerMode", "true", "text/plain");
    ASSERT_TRUE(put);
    EXPECT_EQ(put->status, 405);
    const auto del = client->Delete("/api/journal");
    ASSERT_TRUE(del);
    EXPECT_EQ(del->status, 405);
    drainEvents();
    EXPECT_FALSE(GUI_developerMode.value());
    EXPECT_FALSE(GUI_developerMode.hasPending());

    const auto unknown = client->Get("/api/values/../../etc/passwd");
    ASSERT_TRUE(unknown);
    EXPECT_EQ(unknown->status, 404);
    EXPECT_EQ(client->Get("/nothing-here")->status, 404);

    const int port = endpoint.port();
    EXPECT_EQ(rawExchange("127.0.0.1", port, "GARBAGE\r\n\r\n").substr(0, 12), "HTTP/1.1 400");
    EXPECT_EQ(rawExchange("127.0.0.1", port, "GET /api/values HTTP/1.1\r\nContent-Length: -5\r\n\r\n").substr(9, 1), "4");
    // Not HTTP at all (a TLS hello): no request line ever comes, and the connection is dropped.
    const std::string tls = rawExchange("127.0.0.1", port, std::string("\x16\x03\x01\x02\x00\x01\x00\x01\xfc\x03\x03", 11));
    EXPECT_TRUE(tls.empty() || tls.substr(0, 12) == "HTTP/1.1 400") << tls;

    // A 10 MB header is refused (or the connection dropped) without taking the bench down.
    const std::string huge = "GET /api/values HTTP/1.1\r\nHost: x\r\nX-Big: " + std::string(10 * 1024 * 1024, 'a') + "\r\n\r\n";
    const std::string status = rawExchange("127.0.0.1", port, huge);
    EXPECT_TRUE(status.empty() || status.substr(0, 10) == "HTTP/1.1 4") << status;
    const std::string longPath = "GET /" + std::string(100000, 'p') + " HTTP/1.1\r\nHost: x\r\n\r\n";
    const std::string pathStatus = rawExchange("127.0.0.1", port, longPath);
    EXPECT_TRUE(pathStatus.empty() || pathStatus.substr(0, 10) == "HTTP/1.1 4") << pathStatus;
    // A body larger than the endpoint ever reads.
    const auto big = client->Post("/api/values", std::string(1024 * 1024, 'b'), "text/plain");
    EXPECT_TRUE(!big || big->status / 100 == 4);

    EXPECT_EQ(client->Get("/api/values")->status, 200);
}

TEST_F(ServiceEndpointTest, APortInUseIsAClearMessageAndOnlyLoopbackConnects)
{
    ServiceEndpoint second;
    QString error;
    EXPECT_FALSE(second.start(endpoint.port(), &error));
    EXPECT_EQ(second.port(), 0);
    EXPECT_TRUE(error.contains(QStringLiteral("127.0.0.1:%1").arg(endpoint.port()))) << error.toStdString();
    EXPECT_TRUE(error.contains("--service-port")) << error.toStdString();
    EXPECT_EQ(client->Get("/api/values")->status, 200);

    QStringList outside;
    for (const QHostAddress& address : QNetworkInterface::allAddresses()) {
        if (address.protocol() == QAbstractSocket::IPv4Protocol && !address.isLoopback())
            outside << address.toString();
    }
    if (outside.isEmpty())
        GTEST_SKIP() << "this machine has no address besides the loopback";
    for (const QString& address : outside) {
        bool connected = true;
        rawExchange(address.toStdString(), endpoint.port(), "GET /api/values HTTP/1.1\r\n\r\n", &connected);
        EXPECT_FALSE(connected) << "reached through " << address.toStdString();
    }
}

TEST_F(ServiceEndpointTest, TwoHundredClientsForTenSecondsNeitherCrashItNorStopTheUi)
{
    DisplayView root;
    root.setGeometry(QRect(0, 0, 400, 300));
    DisplayDevice display(&root, QSize(400, 300));

    std::atomic<bool> running{true};
    // Two hundred clients against a handful of workers on two busy cores: a client may give up
    // waiting (no answer), which is load shedding, not a fault. A wrong answer is a fault.
    std::atomic<int> ok{0}, clientErrors{0}, wrongAnswers{0}, unanswered{0};
    std::vector<std::thread> clients;
    for (int i = 0; i < 200; ++i) {
        clients.emplace_back([&, i] {
            httplib::Client c("127.0.0.1", endpoint.port());
            c.set_read_timeout(5, 0);
            while (running) {
                const auto res = c.Get(i % 10 == 0 ? "/nothing" : "/api/state");
                if (!res)
                    ++unanswered;
                else if (res->status == 200)
                    ++ok;
                else if (res->status / 100 == 4)
                    ++clientErrors;
                else
                    ++wrongAnswers;
            }
        });
    }
    int frames = 0;
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (std::chrono::steady_clock::now() < end) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
        display.render();
        ++frames;
    }
    running = false;
    for (std::thread& t : clients)
        t.join();

    EXPECT_GT(ok.load(), 0);
    EXPECT_GT(clientErrors.load(), 0);
    EXPECT_EQ(wrongAnswers.load(), 0);
    EXPECT_GT(ok.load(), unanswered.load()) << "most clients must be served";
    EXPECT_GE(frames, 10) << "the UI thread stalled while the endpoint was busy";
    EXPECT_EQ(client->Get("/api/values")->status, 200);
}
