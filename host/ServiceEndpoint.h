#pragma once

#include "HttpMessage.h"

#include <QByteArray>
#include <QJsonObject>
#include <QMutex>
#include <QObject>
#include <QString>
#include <QTimer>

#include <functional>
#include <memory>

class LoopbackHttpServer;
class QThread;

// The car's service tool on the bench: a read-only page a technician reads the car from (data
// values with their pending requests, the platform journal, CAN bus counters) and the same as
// JSON. It listens on the loopback address only, on a thread of its own; nothing a client
// sends reaches the car. It answers only requests addressed to the loopback by name or number
// from no other origin than its own: a web page elsewhere, even one that makes its name point
// here, reads nothing.
//
// Each JSON document carries a version; a reader that names the one it has (?since=VERSION)
// is answered when the document changes, or after ?wait=SECONDS (30, at most 60) with the
// same one, so a page that follows the car does nothing while the car does nothing.
class ServiceEndpoint : public QObject {
    Q_OBJECT
public:
    static constexpr int DefaultPort = 8080;

    explicit ServiceEndpoint(QObject* parent = nullptr, const HttpLimits& limits = HttpLimits());
    ~ServiceEndpoint() override;

    // Listens on 127.0.0.1:port (0: a free port). False with the reason when the port is taken.
    bool start(int port, QString* error);
    void stop();
    // The port listened on, 0 when not listening.
    int port() const { return mPort; }
    QString url() const;
    // Readers waiting for news just now.
    int heldRequests() const;

    // The JSON documents the endpoint serves, and their versions; safe on any thread. A
    // document is at least as new as the version read before it.
    static QByteArray valuesJson();
    static QByteArray valuesVersion();
    static QByteArray journalJson();
    static QByteArray journalVersion();
    QByteArray canJson() const;
    QByteArray canVersion() const;
    QByteArray stateJson() const;
    QByteArray stateVersion() const;

private:
    // The catalogue belongs to the UI thread: bus names and counters are copied from there.
    void snapshotCan();
    void lookAtHeldRequests();
    // Runs on the endpoint's thread.
    HttpResponse answer(const HttpRequest& request) const;
    // The document, or a hold while the reader has its version already.
    static HttpResponse document(const HttpRequest& request, std::function<QByteArray()> version,
                                 const std::function<QByteArray()>& json);
    bool isOwnAuthority(const QByteArray& host) const;
    bool isOwnOrigin(const QByteArray& origin) const;

    const HttpLimits mLimits;
    const QByteArray mPage;
    std::unique_ptr<QThread> mThread;
    LoopbackHttpServer* mServer = nullptr;
    int mPort = 0;
    QTimer mCanTimer;
    mutable QMutex mCanMutex;
    QJsonObject mCanCounters;
    quint64 mCanVersion = 0;
    QByteArray mCanJson;
};
