// The bench's service endpoint as a client on the loopback sees it, bad clients included.
#include "ServiceEndpoint.h"

#include "core/DataValues.h"
#include "TestSupport.h"
#include "services/PlatformJournal.h"

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
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

namespace {

// A client on a socket of its own, for what an HTTP library would not send.
class RawClient {
public:
    explicit RawClient(int port, const char* from = "127.0.0.1", const char* to = "127.0.0.1")
        : mFd(::socket(AF_INET, SOCK_STREAM, 0))
    {
        // Only a safety net: every answer a test waits for comes at once or at a deadline.
        timeval timeout{15, 0};
        ::setsockopt(mFd, SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof timeout);
        ::setsockopt(mFd, SOL_SOCKET, SO_SNDTIMEO, &timeout, sizeof timeout);
        sockaddr_in local{};
        local.sin_family = AF_INET;
        ::inet_pton(AF_INET, from, &local.sin_addr);
        ::bind(mFd, reinterpret_cast<sockaddr*>(&local), sizeof local);
        sockaddr_in remote{};
        remote.sin_family = AF_INET;
        remote.sin_port = htons(uint16_t(port));
        ::inet_pton(AF_INET, to, &remote.sin_addr);
        mConnected = ::connect(mFd, reinterpret_cast<sockaddr*>(&remote), sizeof remote) == 0;
    }
    ~RawClient() { ::close(mFd); }
    bool connected() const { return mConnected; }

    // Sends all it can; the server may stop reading and answer early.
    void send(const std::string& bytes)
    {
        for (size_t sent = 0; sent < bytes.size();) {
            const ssize_t n = ::send(mFd, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
            if (n <= 0)
                return;
            sent += size_t(n);
        }
    }

    struct Response {
        int status = 0; // 0: closed or silent without an answer
        std::string head;
        std::string body;
    };
    // The next whole answer, its body read by its Content-Length (none follows a HEAD's).
    Response receive(bool toHead = false)
    {
        Response response;
        size_t headEnd;
        while ((headEnd = mPending.find("\r\n\r\n")) == std::string::npos) {
            if (!fill())
                return response;
        }
        response.head = mPending.substr(0, headEnd);
        const size_t lengthAt = response.head.find("Content-Length: ");
        const size_t length = lengthAt == std::string::npos || toHead ? 0 : std::stoul(response.head.substr(lengthAt + 16));
        while (mPending.size() < headEnd + 4 + length) {
            if (!fill())
                return response;
        }
        response.body = mPending.substr(headEnd + 4, length);
        mPending.erase(0, headEnd + 4 + length);
        response.status = std::stoi(response.head.substr(9, 3));
        return response;
    }
    // No more requests: shuts the sending side, as `nc` does at the end of its input.
    void finishSending() { ::shutdown(mFd, SHUT_WR); }
    // True when nothing arrives within a moment (and the connection is still open).
    bool silentFor(int ms)
    {
        pollfd p{mFd, POLLIN, 0};
        return mPending.empty() && ::poll(&p, 1, ms) == 0;
    }
    // True when the server closed the connection (after any answers still unread).
    bool closedByServer()
    {
        while (fill()) {
        }
        return mLastRead == 0;
    }

private:
    bool fill()
    {
        char buffer[65536];
        mLastRead = ::recv(mFd, buffer, sizeof buffer, 0);
        if (mLastRead <= 0)
            return false;
        mPending.append(buffer, size_t(mLastRead));
        return true;
    }

    int mFd;
    bool mConnected = false;
    ssize_t mLastRead = -1;
    std::string mPending;
};

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
        // As declared: other tests of this program start from it.
        DataValue::EventLocker lock(GUI_speedLimitRequest);
        GUI_speedLimitRequest.revertPendingNoLock();
        GUI_speedLimitRequest.setValueNoLock(85.0);
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

    // A well-formed GET for this endpoint, with further header lines.
    std::string get(const std::string& path, const std::string& headers = std::string()) const
    {
        return "GET " + path + " HTTP/1.1\r\nHost: 127.0.0.1:" + std::to_string(endpoint.port()) + "\r\n" + headers
            + "\r\n";
    }
    int statusOf(const std::string& request) const
    {
        RawClient raw(endpoint.port());
        raw.send(request);
        return raw.receive().status;
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
    EXPECT_NE(page->body.find("/api/values"), std::string::npos);
    EXPECT_NE(page->body.find("/api/can"), std::string::npos);
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

    EXPECT_EQ(statusOf("GARBAGE\r\n\r\n"), 400);
    EXPECT_EQ(statusOf(get("/api/values", "Content-Length: -5\r\n")), 400);
    EXPECT_EQ(statusOf(get("/api/values", "Content-Length: 5\r\nContent-Length: 6\r\n")), 400);
    EXPECT_EQ(statusOf(get("/api/values", "Transfer-Encoding: chunked\r\n")), 501);
    EXPECT_EQ(statusOf("GET /api/values HTTP/2.0\r\n\r\n"), 505);
    EXPECT_EQ(statusOf("GET /api/values HTTP/1.1\r\n\r\n"), 400) << "HTTP/1.1 without a Host";
    EXPECT_EQ(statusOf("GET /api/values HTTP/1.0\r\n\r\n"), 200) << "a local tool speaking HTTP/1.0";
    EXPECT_EQ(statusOf(get("/api/values", "No colon on this line\r\n")), 400);
    EXPECT_EQ(statusOf(get("/api/values", " folded: continuation\r\n")), 400);
    EXPECT_EQ(statusOf(get("/api/values", "Bad Name: x\r\n")), 400);

    std::string manyHeaders;
    for (int i = 0; i < 20000; ++i)
        manyHeaders += "X-" + std::to_string(i) + ": 1\r\n";
    EXPECT_EQ(statusOf(get("/api/values", manyHeaders)), 431);
    std::string hundredAndOne;
    for (int i = 0; i < 101; ++i)
        hundredAndOne += "X:\r\n";
    EXPECT_EQ(statusOf(get("/api/values", hundredAndOne)), 431);
    EXPECT_EQ(statusOf(get("/api/values", "X-Big: " + std::string(10 * 1024 * 1024, 'a') + "\r\n")), 431);
    EXPECT_EQ(statusOf("GET /" + std::string(100000, 'p') + " HTTP/1.1\r\n"), 414);

    // A 10 MB body is refused from its length alone: the answer comes while most of it is unsent.
    {
        RawClient raw(endpoint.port());
        raw.send(get("/api/values", "Content-Length: 10485760\r\n") + std::string(1024, 'b'));
        const RawClient::Response refused = raw.receive();
        EXPECT_EQ(refused.status, 413);
        EXPECT_NE(refused.head.find("Connection: close"), std::string::npos);
    }
    // All of it sent anyway: the answer still arrives, and the rest is read and dropped.
    const auto big = client->Post("/api/values", std::string(10 * 1024 * 1024, 'b'), "text/plain");
    ASSERT_TRUE(big);
    EXPECT_EQ(big->status, 413);
    // A small body is read past, so the connection goes on.
    {
        RawClient raw(endpoint.port());
        raw.send(get("/api/values", "Content-Length: 5\r\n") + "hello" + get("/api/can"));
        EXPECT_EQ(raw.receive().status, 200);
        EXPECT_EQ(raw.receive().status, 200);
    }
    // Not HTTP at all (a TLS hello) is not a request line.
    EXPECT_EQ(statusOf(std::string("\x16\x03\x01\x02\x00\x01\x00\x01\xfc\x03\x03\r\n\r\n", 15)), 400);

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
        const std::string to = address.toStdString();
        EXPECT_FALSE(RawClient(endpoint.port(), "0.0.0.0", to.c_str()).connected()) << "reached through " << to;
    }
}

TEST_F(ServiceEndpointTest, TwoHundredClientsAskingOverAndOverGetNoWrongAnswer)
{
    // Two hundred clients against a handful of workers on two busy cores: a client may give up
    // waiting (no answer), which is load shedding, not a fault. A wrong answer is a fault.
    std::atomic<int> ok{0}, clientErrors{0}, wrongAnswers{0}, unanswered{0};
    std::vector<std::thread> clients;
    for (int i = 0; i < 200; ++i) {
        clients.emplace_back([&, i] {
            httplib::Client c("127.0.0.1", endpoint.port());
            c.set_read_timeout(5, 0);
            for (int request = 0; request < 10; ++request) {
                const auto res = c.Get((i + request) % 10 == 0 ? "/nothing" : "/api/state");
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
    for (std::thread& t : clients)
        t.join();

    EXPECT_GT(ok.load(), 0);
    EXPECT_GT(clientErrors.load(), 0);
    EXPECT_EQ(wrongAnswers.load(), 0);
    EXPECT_GT(ok.load(), unanswered.load()) << "most clients must be served";
    EXPECT_EQ(client->Get("/api/values")->status, 200);
}

TEST_F(ServiceEndpointTest, AnswersOnlyItsOwnNamesAndOriginsAndSharesNothingAcrossOrigins)
{
    const std::string port = std::to_string(endpoint.port());
    const auto withHost = [&](const std::string& host, const std::string& headers = std::string()) {
        return statusOf("GET /api/values HTTP/1.1\r\nHost: " + host + "\r\n" + headers + "\r\n");
    };
    EXPECT_EQ(withHost("127.0.0.1:" + port), 200);
    EXPECT_EQ(withHost("LOCALHOST:" + port), 200);
    // A page whose name was made to point here (DNS rebinding) names itself in Host.
    EXPECT_EQ(withHost("attacker.example:" + port), 421);
    EXPECT_EQ(withHost("attacker.example"), 421);
    EXPECT_EQ(withHost("127.0.0.1"), 421);
    EXPECT_EQ(withHost("127.0.0.1:" + port + "0"), 421);
    EXPECT_EQ(withHost("localhost.attacker.example:" + port), 421);

    EXPECT_EQ(statusOf(get("/api/values", "Origin: http://attacker.example\r\n")), 403);
    EXPECT_EQ(statusOf(get("/api/state", "Origin: null\r\n")), 403);
    EXPECT_EQ(statusOf(get("/api/values", "Origin: http://127.0.0.1:" + port + ".attacker.example\r\n")), 403);
    EXPECT_EQ(statusOf(get("/api/values", "Origin: http://localhost:" + port + "\r\n")), 200);

    RawClient raw(endpoint.port());
    raw.send("OPTIONS /api/values HTTP/1.1\r\nHost: 127.0.0.1:" + port
             + "\r\nOrigin: http://127.0.0.1:" + port + "\r\nAccess-Control-Request-Method: GET\r\n\r\n" + get("/api/values")
             + get("/"));
    const RawClient::Response preflight = raw.receive();
    EXPECT_EQ(preflight.status, 405);
    EXPECT_NE(preflight.head.find("Allow: GET, HEAD"), std::string::npos);
    for (const RawClient::Response& answer : {preflight, raw.receive(), raw.receive()})
        EXPECT_EQ(answer.head.find("Access-Control"), std::string::npos) << answer.head;
}

TEST_F(ServiceEndpointTest, PipelinedRequestsAreAllAnsweredInOrder)
{
    RawClient raw(endpoint.port());
    raw.send(get("/api/journal") + get("/nothing-here") + "HEAD /api/can HTTP/1.1\r\nHost: localhost:"
             + std::to_string(endpoint.port()) + "\r\n\r\n" + get("/api/can"));
    const RawClient::Response journal = raw.receive();
    EXPECT_EQ(journal.status, 200);
    EXPECT_TRUE(QJsonDocument::fromJson(QByteArray::fromStdString(journal.body)).object().contains("requests"));
    EXPECT_EQ(raw.receive().status, 404);
    // A HEAD answer announces the length of the body it leaves out; the next answer follows it.
    RawClient::Response head = raw.receive(true);
    EXPECT_EQ(head.status, 200);
    EXPECT_NE(head.head.find("Content-Length: "), std::string::npos);
    EXPECT_EQ(head.head.find("Content-Length: 0"), std::string::npos);
    const RawClient::Response can = raw.receive();
    EXPECT_EQ(can.status, 200);
    EXPECT_TRUE(QJsonDocument::fromJson(QByteArray::fromStdString(can.body)).object().contains("buses"));
    // Still open for the next one.
    raw.send(get("/api/values"));
    EXPECT_EQ(raw.receive().status, 200);

    // A client that shuts its side after its requests still gets every answer.
    RawClient halfClosed(endpoint.port());
    halfClosed.send(get("/api/can") + get("/api/journal"));
    halfClosed.finishSending();
    EXPECT_EQ(halfClosed.receive().status, 200);
    EXPECT_EQ(halfClosed.receive().status, 200);

    // Connection: close on the second of three: two answers, then the server closes.
    RawClient closing(endpoint.port());
    closing.send(get("/api/can") + get("/api/can", "Connection: close\r\n") + get("/api/can"));
    EXPECT_EQ(closing.receive().status, 200);
    EXPECT_EQ(closing.receive().status, 200);
    EXPECT_TRUE(closing.closedByServer());
}

TEST_F(ServiceEndpointTest, TwoHundredSlowClientsShutNobodyOutAndAreCutOffAtTheirDeadline)
{
    // Each holds a connection with a request whose head never ends, adding a line now and then.
    std::vector<std::unique_ptr<RawClient>> slow;
    for (int i = 0; i < 200; ++i) {
        slow.push_back(std::make_unique<RawClient>(endpoint.port()));
        ASSERT_TRUE(slow.back()->connected());
        slow.back()->send("GET /api/values HTTP/1.1\r\nHost: 127.0.0.1:" + std::to_string(endpoint.port()) + "\r\n");
    }
    for (int i = 0; i < 20; ++i) {
        for (auto& s : slow)
            s->send("X-Slow: " + std::to_string(i) + "\r\n");
        const auto res = client->Get("/api/values");
        ASSERT_TRUE(res) << "an honest request timed out behind slow clients";
        EXPECT_EQ(res->status, 200);
    }
    // However slowly a head arrives, it has a few seconds in all.
    for (auto& s : slow)
        EXPECT_EQ(s->receive().status, 408);
}

TEST_F(ServiceEndpointTest, FiveHundredClientsAtOnceAreAllServed)
{
    std::atomic<int> served{0};
    std::vector<std::thread> clients;
    for (int i = 0; i < 500; ++i) {
        clients.emplace_back([&] {
            httplib::Client c("127.0.0.1", endpoint.port());
            c.set_connection_timeout(30, 0);
            c.set_read_timeout(30, 0);
            const auto res = c.Get("/api/values");
            served += res && res->status == 200;
        });
    }
    for (std::thread& t : clients)
        t.join();
    EXPECT_EQ(served.load(), 500);
}

TEST_F(ServiceEndpointTest, ClientsArrivingWhileItIsBusyWaitInTheBacklog)
{
    RawClient busy(endpoint.port());
    std::vector<int> arriving;
    {
        // The UI thread holds a value the JSON reads: the endpoint's thread waits for it.
        DataValue::ConditionalLocker hold(GUI_speedLimitRequest);
        busy.send(get("/api/values"));
        EXPECT_TRUE(busy.silentFor(300));
        sockaddr_in to{};
        to.sin_family = AF_INET;
        to.sin_port = htons(uint16_t(endpoint.port()));
        to.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        for (int i = 0; i < 150; ++i) {
            arriving.push_back(::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK, 0));
            ::connect(arriving.back(), reinterpret_cast<sockaddr*>(&to), sizeof to);
        }
        // Nobody accepts now: only what the listen backlog holds completes its handshake.
        int connected = 0;
        for (int round = 0; round < 20 && connected < 128; ++round) {
            std::this_thread::sleep_for(std::chrono::milliseconds(round == 0 ? 0 : 50));
            std::vector<pollfd> writable;
            for (int fd : arriving)
                writable.push_back({fd, POLLOUT, 0});
            ::poll(writable.data(), writable.size(), 0);
            connected = int(std::count_if(writable.begin(), writable.end(), [](const pollfd& p) { return p.revents & POLLOUT; }));
        }
        EXPECT_GE(connected, 128);
    }
    EXPECT_EQ(busy.receive().status, 200);
    for (int fd : arriving)
        ::close(fd);
}

TEST(ServiceEndpointShareTest, EachClientAddressHasAShareAndTheRestWaitTheirTurn)
{
    HttpLimits limits;
    limits.servedPerAddress = 2;
    limits.waitingPerAddress = 1;
    ServiceEndpoint endpoint(nullptr, limits);
    QString error;
    ASSERT_TRUE(endpoint.start(0, &error)) << error.toStdString();
    const int port = endpoint.port();
    const std::string request = "GET /api/can HTTP/1.1\r\nHost: 127.0.0.1:" + std::to_string(port) + "\r\n\r\n";

    auto first = std::make_unique<RawClient>(port);
    RawClient second(port);
    ASSERT_TRUE(first->connected() && second.connected());
    RawClient waiting(port);
    waiting.send(request);
    RawClient refused(port);
    EXPECT_EQ(refused.receive().status, 503);
    // Another address is not held up by this one's share.
    RawClient neighbour(port, "127.0.0.2");
    neighbour.send(request);
    EXPECT_EQ(neighbour.receive().status, 200);

    EXPECT_TRUE(waiting.silentFor(100));
    first.reset();
    EXPECT_EQ(waiting.receive().status, 200);
}

TEST_F(ServiceEndpointTest, AReaderWithTheLatestVersionIsAnsweredWhenTheCarChanges)
{
    GUI_speedLimitRequest.setValue(70);
    const QString values = getJson("/api/values")["version"].toString();
    ASSERT_FALSE(values.isEmpty());
    EXPECT_EQ(getJson("/api/values")["version"].toString(), values) << "nothing changed between two reads";

    RawClient raw(endpoint.port());
    raw.send(get("/api/values?since=" + values.toStdString() + "&wait=60"));
    ASSERT_TRUE(waitFor([&] { return endpoint.heldRequests() == 1; }));
    EXPECT_TRUE(raw.silentFor(0));
    GUI_speedLimitRequest.setValue(75);
    const RawClient::Response changed = raw.receive();
    ASSERT_EQ(changed.status, 200);
    const QJsonObject answer = QJsonDocument::fromJson(QByteArray::fromStdString(changed.body)).object();
    EXPECT_NE(answer["version"].toString(), values);
    EXPECT_EQ(valueNamed(answer["values"].toArray(), "GUI_speedLimitRequest")["value"].toDouble(), 75.0);
    EXPECT_TRUE(waitFor([&] { return endpoint.heldRequests() == 0; }));

    // The journal and the whole state wait the same way; a journal entry is news to both.
    const QString journal = getJson("/api/journal")["version"].toString();
    const QString state = getJson("/api/state")["version"].toString();
    RawClient journalReader(endpoint.port());
    journalReader.send(get("/api/journal?since=" + journal.toStdString()));
    RawClient stateReader(endpoint.port());
    stateReader.send(get("/api/state?since=" + state.toStdString()));
    ASSERT_TRUE(waitFor([&] { return endpoint.heldRequests() == 2; }));
    PlatformJournal::record(QStringLiteral("NetManager"), QStringLiteral("restartWifi"));
    const QJsonObject journalAnswer = QJsonDocument::fromJson(QByteArray::fromStdString(journalReader.receive().body)).object();
    EXPECT_NE(journalAnswer["version"].toString(), journal);
    EXPECT_EQ(journalAnswer["requests"].toArray().last()["text"].toString(), "NetManager.restartWifi()");
    const QJsonObject stateAnswer = QJsonDocument::fromJson(QByteArray::fromStdString(stateReader.receive().body)).object();
    EXPECT_NE(stateAnswer["version"].toString(), state);
}

TEST_F(ServiceEndpointTest, AnOldVersionIsAnsweredAtOnceAndAWaitEndsWithTheSameDocument)
{
    const QString version = getJson("/api/values")["version"].toString();
    const auto old = client->Get("/api/values?since=not-a-version&wait=60");
    ASSERT_TRUE(old);
    EXPECT_EQ(QJsonDocument::fromJson(QByteArray::fromStdString(old->body))["version"].toString(), version);

    // Held past the deadline a request has to arrive in: the wait is not a slow client.
    HttpLimits limits;
    limits.requestDeadlineMs = 100;
    ServiceEndpoint strict(nullptr, limits);
    QString error;
    ASSERT_TRUE(strict.start(0, &error)) << error.toStdString();
    RawClient raw(strict.port());
    raw.send("GET /api/values?since=" + version.toStdString() + "&wait=1 HTTP/1.1\r\nHost: 127.0.0.1:"
             + std::to_string(strict.port()) + "\r\n\r\n");
    const RawClient::Response same = raw.receive();
    ASSERT_EQ(same.status, 200);
    EXPECT_EQ(QJsonDocument::fromJson(QByteArray::fromStdString(same.body))["version"].toString(), version);
}

TEST_F(ServiceEndpointTest, AHeldReaderKeepsItsTurnOnItsConnectionAndIsLetGoWhenItLeaves)
{
    const QString version = getJson("/api/values")["version"].toString();
    {
        // Pipelined behind a held request: answered after it, in order.
        RawClient raw(endpoint.port());
        raw.send(get("/api/values?since=" + version.toStdString()) + get("/api/can"));
        ASSERT_TRUE(waitFor([&] { return endpoint.heldRequests() == 1; }));
        EXPECT_TRUE(raw.silentFor(0));
        GUI_speedLimitRequest.setValue(GUI_speedLimitRequest.value() + 1);
        const RawClient::Response first = raw.receive();
        EXPECT_NE(first.body.find("\"values\""), std::string::npos);
        const RawClient::Response second = raw.receive();
        EXPECT_NE(second.body.find("\"buses\""), std::string::npos);
    }
    const QString now = getJson("/api/values")["version"].toString();
    {
        RawClient leaving(endpoint.port());
        leaving.send(get("/api/values?since=" + now.toStdString()));
        ASSERT_TRUE(waitFor([&] { return endpoint.heldRequests() == 1; }));
    }
    EXPECT_TRUE(waitFor([&] { return endpoint.heldRequests() == 0; }));
    EXPECT_EQ(client->Get("/api/values")->status, 200);
}
