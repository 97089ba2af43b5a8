#pragma once

#include "HttpConnection.h"

#include <QHash>
#include <QList>
#include <QObject>
#include <QSet>

#include <atomic>

class QTcpServer;

// An HTTP server on the loopback address for a handful of local readers, driven by the event
// loop of the thread it lives in, so a slow client costs a socket and never a worker. Each
// client address has a share of the connections served at once; the rest wait their turn.
class LoopbackHttpServer : public QObject {
    Q_OBJECT
public:
    LoopbackHttpServer(const HttpLimits& limits, HttpConnection::Handler handler);
    ~LoopbackHttpServer() override;

    // Listens on 127.0.0.1:port (0: a free one). The port, or 0 with the reason.
    int listen(int port, QString* reason);
    // A socket bound to 127.0.0.1:port before this server was loaded: the next listen on that
    // port takes it, with the clients waiting in its queue.
    static void handOver(int port, int socketDescriptor);
    // Any thread: something changed that held requests may wait for. Costs nothing while
    // none is held; calls in a burst are looked at once.
    void lookAtHeldRequests();
    // Any thread.
    int heldRequests() const { return mHolding.load(); }

private:
    struct AddressShare {
        int served = 0;
        QList<HttpConnection*> waiting;
    };

    void acceptConnections();
    void release(HttpConnection* connection);

    HttpLimits mLimits;
    const HttpConnection::Handler mHandler;
    QTcpServer* mServer;
    QHash<QString, AddressShare> mAddresses;
    QSet<HttpConnection*> mServed;
    int mConnections = 0;
    std::atomic<int> mHolding{0};
    std::atomic<bool> mLookPending{false};
};
