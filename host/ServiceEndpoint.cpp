#include "ServiceEndpoint.h"

#include "can/CANData.h"
#include "can/CANDataManager.h"
#include "core/DataValue.h"
#include "core/Logger.h"
#include "services/PlatformJournal.h"

#include "LoopbackHttpServer.h"

#include <QDateTime>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QThread>
#include <QUrlQuery>

namespace {

const char* const LoopbackAddress = "127.0.0.1";
// Enough of the journal to see what just happened; the bench's panel keeps the rest.
constexpr int JournalTail = 200;
// How long a reader waiting for news is held, unless it says (in seconds).
constexpr int DefaultWaitSeconds = 30;
constexpr int MaxWaitSeconds = 60;

QJsonArray valuesArray()
{
    QJsonArray values;
    for (const DataValue* value : DataValueRegistry::all())
        values.append(value->toJson());
    return values;
}

QByteArray journalVersionOf(const QList<PlatformRequest>& requests)
{
    // Numbers are never reused: a new request changes the first, clearing the second.
    return QByteArray::number(requests.isEmpty() ? 0 : requests.last().sequence) + '-'
        + QByteArray::number(requests.size());
}

QJsonObject journalObject()
{
    const QList<PlatformRequest> requests = PlatformJournal::instance()->requests();
    QJsonArray tail;
    for (int i = qMax(0, requests.size() - JournalTail); i < requests.size(); ++i)
        tail.append(requests[i].toJson());
    return QJsonObject{{QStringLiteral("version"), QString::fromLatin1(journalVersionOf(requests))},
                       {QStringLiteral("total"), requests.size()},
                       {QStringLiteral("requests"), tail}};
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

HttpResponse json(const QByteArray& body)
{
    HttpResponse response;
    response.contentType = "application/json";
    response.body = body;
    return response;
}

} // namespace

ServiceEndpoint::ServiceEndpoint(QObject* parent, const HttpLimits& limits)
    : QObject(parent)
    , mLimits(limits)
    , mPage(servicePage())
{
    mCanTimer.setInterval(1000);
    connect(&mCanTimer, &QTimer::timeout, this, &ServiceEndpoint::snapshotCan);
    connect(DataValueChanges::instance(), &DataValueChanges::changed, this, &ServiceEndpoint::lookAtHeldRequests);
    connect(PlatformJournal::instance(), &PlatformJournal::recorded, this, &ServiceEndpoint::lookAtHeldRequests);
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
    mThread = std::make_unique<QThread>();
    mThread->setObjectName(QStringLiteral("ServiceEndpoint"));
    mThread->start();
    mServer = new LoopbackHttpServer(mLimits, [this](const HttpRequest& request) { return answer(request); });
    mServer->moveToThread(mThread.get());
    QString reason;
    // The port is set on the server's thread before it takes a request, which checks it.
    QMetaObject::invokeMethod(mServer, [&] { mPort = mServer->listen(port, &reason); }, Qt::BlockingQueuedConnection);
    if (mPort == 0) {
        stop();
        *error = QStringLiteral("cannot listen on %1:%2 (%3): is another bench or service using the port? "
                                "Choose another with --service-port")
                     .arg(QLatin1String(LoopbackAddress))
                     .arg(port)
                     .arg(reason);
        return false;
    }
    mCanTimer.start();
    return true;
}

void ServiceEndpoint::stop()
{
    mCanTimer.stop();
    if (!mThread)
        return;
    // Deleted on its own thread as that thread ends, its connections with it.
    mServer->deleteLater();
    mServer = nullptr;
    mThread->quit();
    mThread->wait();
    mThread.reset();
    mPort = 0;
}

int ServiceEndpoint::heldRequests() const
{
    return mServer ? mServer->heldRequests() : 0;
}

void ServiceEndpoint::lookAtHeldRequests()
{
    if (mServer)
        mServer->lookAtHeldRequests();
}

bool ServiceEndpoint::isOwnAuthority(const QByteArray& host) const
{
    const QByteArray port = ':' + QByteArray::number(mPort);
    return host.compare(LoopbackAddress + port, Qt::CaseInsensitive) == 0
        || host.compare("localhost" + port, Qt::CaseInsensitive) == 0;
}

bool ServiceEndpoint::isOwnOrigin(const QByteArray& origin) const
{
    return origin.startsWith("http://") && isOwnAuthority(origin.mid(7));
}

HttpResponse ServiceEndpoint::answer(const HttpRequest& request) const
{
    // A name that resolves here but is not ours is a page elsewhere reaching in (DNS
    // rebinding); an HTTP/1.0 request without a Host is a local tool.
    const QByteArray host = request.header("Host");
    if (!host.isNull() && !isOwnAuthority(host))
        return HttpResponse::error(421);
    const QByteArray origin = request.header("Origin");
    if (!origin.isNull() && !isOwnOrigin(origin))
        return HttpResponse::error(403);
    if (request.method != "GET" && request.method != "HEAD") {
        // Read-only: whatever would change something is a method this endpoint lacks.
        HttpResponse refused = HttpResponse::error(405);
        refused.headers.append(qMakePair(QByteArray("Allow"), QByteArray("GET, HEAD")));
        return refused;
    }
    const QByteArray path = request.path();
    if (path == "/") {
        HttpResponse page;
        page.contentType = "text/html; charset=utf-8";
        page.body = mPage;
        return page;
    }
    if (path == "/api/values")
        return document(request, &ServiceEndpoint::valuesVersion, &ServiceEndpoint::valuesJson);
    if (path == "/api/journal")
        return document(request, &ServiceEndpoint::journalVersion, &ServiceEndpoint::journalJson);
    if (path == "/api/can")
        return document(request, [this] { return canVersion(); }, [this] { return canJson(); });
    if (path == "/api/state")
        return document(request, [this] { return stateVersion(); }, [this] { return stateJson(); });
    return HttpResponse::error(404);
}

HttpResponse ServiceEndpoint::document(const HttpRequest& request, std::function<QByteArray()> version,
                                       const std::function<QByteArray()>& body)
{
    const int queryStart = request.target.indexOf('?');
    const QUrlQuery query(queryStart < 0 ? QString() : QString::fromUtf8(request.target.mid(queryStart + 1)));
    if (!request.waited && query.hasQueryItem(QStringLiteral("since"))) {
        const QByteArray since = query.queryItemValue(QStringLiteral("since"), QUrl::FullyDecoded).toUtf8();
        if (since == version()) {
            bool given = false;
            const int wait = query.queryItemValue(QStringLiteral("wait")).toInt(&given);
            const int seconds = given && wait > 0 ? qMin(wait, MaxWaitSeconds) : DefaultWaitSeconds;
            return HttpResponse::held(seconds * 1000, [version = std::move(version), since] { return version() == since; });
        }
    }
    return json(body());
}

QByteArray ServiceEndpoint::valuesVersion()
{
    return QByteArray::number(DataValueChanges::instance()->count());
}

QByteArray ServiceEndpoint::valuesJson()
{
    const QByteArray version = valuesVersion();
    return compact(QJsonObject{{QStringLiteral("version"), QString::fromLatin1(version)},
                               {QStringLiteral("time"), now()},
                               {QStringLiteral("values"), valuesArray()}});
}

QByteArray ServiceEndpoint::journalVersion()
{
    return journalVersionOf(PlatformJournal::instance()->requests());
}

QByteArray ServiceEndpoint::journalJson()
{
    QJsonObject out = journalObject();
    out.insert(QStringLiteral("time"), now());
    return compact(out);
}

QByteArray ServiceEndpoint::canVersion() const
{
    QMutexLocker lock(&mCanMutex);
    return QByteArray::number(mCanVersion);
}

QByteArray ServiceEndpoint::canJson() const
{
    QMutexLocker lock(&mCanMutex);
    return mCanJson;
}

QByteArray ServiceEndpoint::stateVersion() const
{
    return valuesVersion() + '.' + journalVersion() + '.' + canVersion();
}

QByteArray ServiceEndpoint::stateJson() const
{
    const QByteArray version = stateVersion();
    const QJsonObject can = QJsonDocument::fromJson(canJson()).object();
    return compact(QJsonObject{{QStringLiteral("version"), QString::fromLatin1(version)},
                               {QStringLiteral("time"), now()},
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
    const QJsonObject counters{{QStringLiteral("buses"), buses},
                               {QStringLiteral("unrouted"),
                                countersToJson(QStringLiteral("unrouted"), CANDataManager::busCounters(CANDecoder::Unrouted))}};
    {
        QMutexLocker lock(&mCanMutex);
        if (counters == mCanCounters && !mCanJson.isEmpty())
            return;
        mCanCounters = counters;
        QJsonObject can = counters;
        can.insert(QStringLiteral("version"), QString::number(++mCanVersion));
        mCanJson = compact(can);
    }
    lookAtHeldRequests();
}
