#include "LoopbackHttpServer.h"

#include "ListeningSocket.h"

#include <QHash>
#include <QMutex>
#include <QTcpServer>
#include <QTcpSocket>

#include <sys/resource.h>
#include <unistd.h>

LoopbackHttpServer::LoopbackHttpServer(const HttpLimits& limits, HttpConnection::Handler handler)
    : mLimits(limits)
    , mHandler(std::move(handler))
    , mServer(new QTcpServer(this))
{
    // Half the descriptors the process may open at most, so the rest of it keeps working.
    rlimit files{};
    if (::getrlimit(RLIMIT_NOFILE, &files) == 0 && files.rlim_cur != RLIM_INFINITY)
        mLimits.maxConnections = int(qMin<rlim_t>(rlim_t(mLimits.maxConnections), files.rlim_cur / 2));
    connect(mServer, &QTcpServer::newConnection, this, &LoopbackHttpServer::acceptConnections);
}

LoopbackHttpServer::~LoopbackHttpServer() = default;

namespace {

QMutex handedOverMutex;
QHash<int, int> handedOverSockets; // port -> listening descriptor

// The descriptor handed over for the port, or -1.
int takeHandedOver(int port)
{
    QMutexLocker lock(&handedOverMutex);
    return handedOverSockets.contains(port) ? handedOverSockets.take(port) : -1;
}

} // namespace

void LoopbackHttpServer::handOver(int port, int socketDescriptor)
{
    QMutexLocker lock(&handedOverMutex);
    if (handedOverSockets.contains(port))
        ::close(handedOverSockets.value(port));
    handedOverSockets.insert(port, socketDescriptor);
}

int LoopbackHttpServer::listen(int port, QString* reason)
{
    int boundPort = port;
    int fd = takeHandedOver(port);
    if (fd < 0)
        fd = listenOnLoopback(port, &boundPort, reason);
    if (fd < 0)
        return 0;
    if (!mServer->setSocketDescriptor(fd)) {
        *reason = mServer->errorString();
        ::close(fd);
        return 0;
    }
    return boundPort;
}

void LoopbackHttpServer::acceptConnections()
{
    while (QTcpSocket* socket = mServer->nextPendingConnection()) {
        auto* connection = new HttpConnection(socket, mLimits, mHandler, this);
        connect(connection, &HttpConnection::finished, this, &LoopbackHttpServer::release);
        connect(connection, &HttpConnection::holdingChanged, this, [this](bool holding) { mHolding += holding ? 1 : -1; });
        ++mConnections;
        AddressShare& share = mAddresses[connection->peerAddress()];
        if (share.served < mLimits.servedPerAddress) {
            ++share.served;
            mServed.insert(connection);
            connection->start();
        } else if (share.waiting.size() < mLimits.waitingPerAddress) {
            share.waiting.append(connection);
        } else {
            connection->refuse(503);
        }
    }
    if (mConnections >= mLimits.maxConnections)
        mServer->pauseAccepting();
}

void LoopbackHttpServer::lookAtHeldRequests()
{
    // The change is made before this: either a request held from now on sees it, or it is
    // counted here already.
    std::atomic_thread_fence(std::memory_order_seq_cst);
    if (mHolding.load() == 0 || mLookPending.exchange(true))
        return;
    QMetaObject::invokeMethod(this, [this] {
        mLookPending = false;
        // Answering may finish a connection, which comes back to release().
        const QSet<HttpConnection*> served = mServed;
        for (HttpConnection* connection : served)
            connection->lookAtHeldRequest();
    }, Qt::QueuedConnection);
}

void LoopbackHttpServer::release(HttpConnection* connection)
{
    --mConnections;
    const QString peer = connection->peerAddress();
    AddressShare& share = mAddresses[peer];
    if (mServed.remove(connection)) {
        --share.served;
        if (!share.waiting.isEmpty()) {
            HttpConnection* next = share.waiting.takeFirst();
            ++share.served;
            mServed.insert(next);
            // Started from the event loop: starting may finish it, and that comes back here.
            QMetaObject::invokeMethod(next, &HttpConnection::start, Qt::QueuedConnection);
        }
    } else {
        share.waiting.removeOne(connection);
    }
    if (share.served == 0 && share.waiting.isEmpty())
        mAddresses.remove(peer);
    connection->deleteLater();
    if (mConnections < mLimits.maxConnections)
        mServer->resumeAccepting();
}
