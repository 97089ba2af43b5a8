#pragma once

#include <QString>

#include <memory>

class QObject;

// The bench's network services: the service endpoint and the host commands' listener. Their
// sockets are bound at once, so the endpoint's address is known and clients (a page, a test, a
// host command) queue from the start; the services themselves, with Qt's network library and
// everything it loads, come from a module of their own once the first frame is out.
class BenchNetwork {
public:
    BenchNetwork() = default;
    BenchNetwork(const BenchNetwork&) = delete;
    BenchNetwork& operator=(const BenchNetwork&) = delete;
    ~BenchNetwork();

    // Binds 127.0.0.1:port (0: a free one). False with the reason when the port is taken.
    bool bindServicePort(int port, QString* reason);
    // Where the endpoint answers; empty when its port could not be bound.
    QString serviceUrl() const;
    // Binds the host commands' socket in socketFolder and points every command started from now
    // on at it. False with the reason.
    bool bindHostCommandSocket(const QString& socketFolder, QString* reason);

    // Loads the module; the services take the bound sockets and run until this goes. Once.
    void start();

private:
    int mServiceSocket = -1;
    int mServicePort = 0;
    int mHostCommandSocket = -1;
    std::unique_ptr<QObject> mServices;
};
