#pragma once

#include <QByteArray>
#include <QMutex>
#include <QObject>
#include <QString>
#include <QTimer>

#include <memory>
#include <thread>

namespace httplib {
class Server;
}

// The car's service tool on the bench: a read-only page a technician reads the car from (data
// values with their pending requests, the platform journal, CAN bus counters) and the same as
// JSON. It listens on the loopback address only, on a thread of its own; nothing a client
// sends reaches the car.
class ServiceEndpoint : public QObject {
    Q_OBJECT
public:
    static constexpr int DefaultPort = 8080;

    explicit ServiceEndpoint(QObject* parent = nullptr);
    ~ServiceEndpoint() override;

    // Listens on 127.0.0.1:port (0: a free port). False with the reason when the port is taken.
    bool start(int port, QString* error);
    void stop();
    // The port listened on, 0 when not listening.
    int port() const { return mPort; }
    QString url() const;

    // The JSON documents the endpoint serves; safe on any thread.
    static QByteArray valuesJson();
    static QByteArray journalJson();
    QByteArray canJson() const;
    QByteArray stateJson() const;

private:
    // The catalogue belongs to the UI thread: bus names and counters are copied from there.
    void snapshotCan();

    std::unique_ptr<httplib::Server> mServer;
    std::thread mThread;
    int mPort = 0;
    QTimer mCanTimer;
    mutable QMutex mCanMutex;
    QByteArray mCanJson;
};
