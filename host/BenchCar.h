#pragma once

#include <QHash>
#include <QObject>
#include <QVariant>

class DataValue;
class QTimer;

// The vehicle behind the display. It takes each request the UI leaves pending after a latency,
// as the car's gateway does; a request changed meanwhile waits the whole latency again, and
// one reverted meanwhile is never taken. It also answers a few requests as a car would: rails
// drop while either rails-off request stands, and factory driving starts and stops on request.
class BenchCar : public QObject {
    Q_OBJECT
public:
    // With 0 a request is taken once the writer's turn of the event loop is over.
    explicit BenchCar(int latencyMs, QObject* parent = nullptr);

    int latency() const { return mLatency; }
    // What the driver assistance means by each factory driving status, from 0.
    static QStringList factoryKestroStatusNames();
    // Names of the values whose request the car has heard and not yet taken.
    QStringList waiting() const;

public slots:
    // Takes every waiting request now.
    void acceptWaiting();

private:
    struct Request {
        QVariant value;
        QTimer* timer;
    };

    void heard(DataValue* value);
    void accept(DataValue* value);
    void forget(DataValue* value);
    void followRailRequests();
    void followFactoryKestro();

    const int mLatency;
    QHash<DataValue*, Request> mWaiting;
    bool mRailsOffRequested = false;
    bool mKestroRequested = false;
};
