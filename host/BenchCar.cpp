#include "BenchCar.h"

#include "core/DataValues.h"
#include "core/Logger.h"

#include <QTimer>

namespace {

constexpr int KestroDriving = 1;
constexpr int KestroReady = 2;

bool railsOffRequested()
{
    return GUI_powerOffRailsRequest.value() || GUI_stopRailsAnd12VSupportRequest.value();
}

} // namespace

BenchCar::BenchCar(int latencyMs, QObject* parent)
    : QObject(parent)
    , mLatency(latencyMs)
    , mRailsOffRequested(railsOffRequested())
    , mKestroRequested(GUI_factoryKestro.value())
{
    for (DataValue* value : DataValueRegistry::all()) {
        connect(value, &DataValue::changed, this, [this, value] { heard(value); });
        connect(value, &QObject::destroyed, this, [this, value] { forget(value); });
    }
    connect(&GUI_powerOffRailsRequest, &DataValue::changed, this, &BenchCar::followRailRequests);
    connect(&GUI_stopRailsAnd12VSupportRequest, &DataValue::changed, this, &BenchCar::followRailRequests);
    connect(&GUI_factoryKestro, &DataValue::changed, this, &BenchCar::followFactoryKestro);
}

QStringList BenchCar::factoryKestroStatusNames()
{
    return {QStringLiteral("0 not available"), QStringLiteral("1 driving"), QStringLiteral("2 ready"),
            QStringLiteral("3 no QR code"), QStringLiteral("4 too far from the target"), QStringLiteral("5 no GPS"),
            QStringLiteral("6 no vehicle speed"), QStringLiteral("7 no heading"),
            QStringLiteral("8 last instruction completed")};
}

QStringList BenchCar::waiting() const
{
    QStringList names;
    for (auto it = mWaiting.cbegin(); it != mWaiting.cend(); ++it)
        names.append(it.key()->name());
    names.sort();
    return names;
}

void BenchCar::acceptWaiting()
{
    const QList<DataValue*> values = mWaiting.keys();
    for (DataValue* value : values)
        accept(value);
}

void BenchCar::heard(DataValue* value)
{
    bool pending;
    QVariant request;
    {
        DataValue::ConditionalLocker lock(value);
        pending = value->hasPending();
        request = value->pendingVariant();
    }
    if (!pending)
        return forget(value);
    auto found = mWaiting.find(value);
    if (found != mWaiting.end() && found->value == request)
        return; // the same request, another change of the value
    if (found == mWaiting.end()) {
        auto* timer = new QTimer(this);
        timer->setSingleShot(true);
        connect(timer, &QTimer::timeout, this, [this, value] { accept(value); });
        found = mWaiting.insert(value, Request{request, timer});
    }
    found->value = request;
    found->timer->start(mLatency);
}

void BenchCar::accept(DataValue* value)
{
    forget(value);
    DataValue::EventLocker lock(value);
    value->acceptPendingNoLock();
}

void BenchCar::forget(DataValue* value)
{
    const auto found = mWaiting.find(value);
    if (found == mWaiting.end())
        return;
    // Maybe inside the timer's own timeout.
    found->timer->stop();
    found->timer->deleteLater();
    mWaiting.erase(found);
}

void BenchCar::followRailRequests()
{
    const bool off = railsOffRequested();
    if (off == mRailsOffRequested)
        return;
    mRailsOffRequested = off;
    Logger(this, "INFO") << (off ? "Drive rails off on request" : "Drive rails back on");
    VAPI_driveRailOn.setValue(!off);
}

void BenchCar::followFactoryKestro()
{
    const bool requested = GUI_factoryKestro.value();
    if (requested == mKestroRequested)
        return;
    mKestroRequested = requested;
    // Only a system that is ready or driving can start or stop; any other status is its own.
    const int status = DAS_factoryKestroStatus.value();
    if (status == KestroDriving || status == KestroReady)
        DAS_factoryKestroStatus.setValue(requested ? KestroDriving : KestroReady);
}
