#include "ServiceEndpoint.h"

#include "can/CANData.h"
#include "can/CANDataManager.h"
#include "core/DataValue.h"
#include "core/Logger.h"
#include "services/PlatformJournal.h"

#include <httplib.h>

#include <QDateTime>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <sys/socket.h>

#include <cerrno>
#include <cstring>

namespace {

const char* const LoopbackAddress = "127.0.0.1";
// Enough of the journal to see what just happened; the bench's panel keeps the rest.
constexpr int JournalTail = 200;
// Loopback clients are few; a small pool keeps the endpoint off the UI's two cores.
constexpr size_t WorkerThreads = 4;

QJsonObject valueToJson(const DataValue* value)
{
    QJsonObject out;
    out.insert(QStringLiteral("name"), value->name());
    out.insert(QStringLiteral("type"), DataValue::typeName(value->type()));
    DataValue::ConditionalLocker lock(value);
    out.insert(QStringLiteral("value"), QJsonValue::fromVariant(value->variant()));
    out.insert(QStringLiteral("valid"), value->isValid());
    out.insert(QStringLiteral("pending"), value->hasPending());
    if (value->hasPending())
        out.insert(QStringLiteral("pendingValue"), QJsonValue::fromVariant(value->pendingVariant()));
    out.insert(QStringLiteral("display"), value->toDisplayString());
    return out;
}

QJsonArray valuesArray()
{
    QJsonArray values;
    for (const DataValue* value : DataValueRegistry::all())
        values.append(valueToJson(value));
    return values;
}

QJsonObject journalObject()
{
    const QList<PlatformRequest> requests = PlatformJournal::instance()->requests();
    QJsonArray tail;
    for (int i = qMax(0, requests.size() - JournalTail); i < requests.size(); ++i)
        tail.append(requests[i].toJson());
    return QJsonObject{{QStringLiteral("total"), requests.size()}, {QStringLiteral("requests"), tail}};
}

QJsonObject countersToJson(const QString& name, const CANDecoder::Counters& c)
{
    return QJsonObject{{QStringLiteral("name"), name},
                       {QStringLiteral("frames"), double(c.frames)},
                       {QStringLiteral("unknownIds"), double(c.unknownIds)},
                       {QStringLiteral("shortFrames"), double(c.shortFrames)},
                       {QStringLiteral("droppedFrames"), double(c.droppedFrames)},
                       {QStringLiteral("errorFrames"), double(c.errorFrames)},
                       {QStringLiteral("framesPerSecond"), c.framesPerSecond}};
}

QByteArray compact(const QJsonObject& object)
{
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

QString now()
{
    return QDateTime::currentDateTimeUtc().toString(Qt::ISODateWithMs);
}

QByteArray servicePage()
{
    QFile page(QStringLiteral(":/service/service.html"));
    if (!page.open(QIODevice::ReadOnly)) {
        Logger(nullptr, "ERROR") << "Service endpoint: the service page is missing from the bench";
        return QByteArray();
    }
    return page.readAll();
}

bool isDecimal(const std::string& text)
{
    return !text.empty() && text.find_first_not_of("0123456789") == std::string::npos;
}

const char* reasonPhrase(int status)
{
    switch (status) {
    case 400: return "Bad Request";
    case 404: return "Not Found";
    case 405: return "Method Not Allowed";
    case 413: return "Payload Too Large";
    case 414: return "URI Too Long";
    default: return status / 100 == 4 ? "Client Error" : "Server Error";
    }
}

void sendJson(httplib::Response& res, const QByteArray& json)
{
    // The vitals dashboard is a local file page: it reads the JSON across origins.
    res.set_header("Access-Control-Allow-Origin", "*");
    res.set_header("Cache-Control", "no-store");
    res.set_content(json.constData(), size_t(json.size()), "application/json");
}

} // namespace

ServiceEndpoint::ServiceEndpoint(QObject* parent)
    : QObject(parent)
{
    mCanTimer.setInterval(1000);
    connect(&mCanTimer, &QTimer::timeout, this, &ServiceEndpoint::snapshotCan);
}

ServiceEndpoint::~ServiceEndpoint()
{
    stop();
}

QString ServiceEndpoint::url() const
{
    return QStringLiteral("http://%1:%2/").arg(QLatin1String(LoopbackAddress)).arg(mPort);
}

bool ServiceEndpoint::start(int port, QString* error)
{
    stop();
    snapshotCan();
    auto server = std::make_unique<httplib::Server>();
    server->new_task_queue = [] { return new httplib::ThreadPool(WorkerThreads); };
    // Few requests per connection: with a handful of workers, a busy client must let the
    // queued ones have their turn instead of starving them into time-outs.
    server->set_keep_alive_max_count(4);
    server->set_keep_alive_timeout(2);
    server->set_read_timeout(5, 0);
    server->set_write_timeout(5, 0);
    server->set_payload_max_length(64 * 1024);
    // The library's default adds SO_REUSEPORT, which would let a second bench share the port
    // silently and take half the requests.
    server->set_socket_options([](int sock) {
        int yes = 1;
        ::setsockopt(sock, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    });
    server->set_pre_routing_handler([](const httplib::Request& req, httplib::Response& res) {
        if (req.has_header("Content-Length") && !isDecimal(req.get_header_value("Content-Length"))) {
            res.status = 400;
            return httplib::Server::HandlerResponse::Handled;
        }
        return httplib::Server::HandlerResponse::Unhandled;
    });

    const QByteArray page = servicePage();
    server->Get("/", [page](const httplib::Request&, httplib::Response& res) {
        res.set_header("Cache-Control", "no-store");
        res.set_content(page.constData(), size_t(page.size()), "text/html; charset=utf-8");
    });
    server->Get("/api/values", [](const httplib::Request&, httplib::Response& res) { sendJson(res, valuesJson()); });
    server->Get("/api/journal", [](const httplib::Request&, httplib::Response& res) { sendJson(res, journalJson()); });
    server->Get("/api/can", [this](const httplib::Request&, httplib::Response& res) { sendJson(res, canJson()); });
    server->Get("/api/state", [this](const httplib::Request&, httplib::Response& res) { sendJson(res, stateJson()); });
    // Read-only: whatever would change something is refused as a method this endpoint lacks.
    const auto refuse = [](const httplib::Request&, httplib::Response& res) {
        res.status = 405;
        res.set_header("Allow", "GET, HEAD");
    };
    server->Post(".*", refuse);
    server->Put(".*", refuse);
    server->Patch(".*", refuse);
    server->Delete(".*", refuse);
    server->set_error_handler([](const httplib::Request&, httplib::Response& res) {
        res.set_content(std::to_string(res.status) + " " + reasonPhrase(res.status) + "\n", "text/plain");
    });

    int bound = 0;
    errno = 0;
    if (port == 0)
        bound = server->bind_to_any_port(LoopbackAddress);
    else if (server->bind_to_port(LoopbackAddress, port))
        bound = port;
    if (bound <= 0) {
        const int reason = errno;
        *error = QStringLiteral("cannot listen on %1:%2 (%3): is another bench or service using the port? "
                                "Choose another with --service-port")
                     .arg(QLatin1String(LoopbackAddress))
                     .arg(port)
                     .arg(QString::fromLocal8Bit(std::strerror(reason ? reason : EADDRINUSE)));
        return false;
    }
    mPort = bound;
    mServer = std::move(server);
    mThread = std::thread([server = mServer.get()] { server->listen_after_bind(); });
    mCanTimer.start();
    return true;
}

void ServiceEndpoint::stop()
{
    mCanTimer.stop();
    if (!mServer)
        return;
    mServer->stop();
    if (mThread.joinable())
        mThread.join();
    mServer.reset();
    mPort = 0;
}

QByteArray ServiceEndpoint::valuesJson()
{
    return compact(QJsonObject{{QStringLiteral("time"), now()}, {QStringLiteral("values"), valuesArray()}});
}

QByteArray ServiceEndpoint::journalJson()
{
    QJsonObject out = journalObject();
    out.insert(QStringLiteral("time"), now());
    return compact(out);
}

QByteArray ServiceEndpoint::canJson() const
{
    QMutexLocker lock(&mCanMutex);
    return mCanJson;
}

QByteArray ServiceEndpoint::stateJson() const
{
    const QJsonObject can = QJsonDocument::fromJson(canJson()).object();
    return compact(QJsonObject{{QStringLiteral("time"), now()},
                               {QStringLiteral("values"), valuesArray()},
                               {QStringLiteral("journal"), journalObject()},
                               {QStringLiteral("can"), can}});
}

void ServiceEndpoint::snapshotCan()
{
    QJsonArray buses;
    const CANData& catalogue = CANDataManager::catalogue();
    for (int bus = 0; bus < catalogue.busCount(); ++bus)
        buses.append(countersToJson(QString::fromUtf8(catalogue.busAt(bus)->name()), CANDataManager::busCounters(bus)));
    const QJsonObject can{{QStringLiteral("buses"), buses},
                          {QStringLiteral("unrouted"),
                           countersToJson(QStringLiteral("unrouted"), CANDataManager::busCounters(CANDecoder::Unrouted))}};
    const QByteArray json = compact(can);
    QMutexLocker lock(&mCanMutex);
    mCanJson = json;
}
