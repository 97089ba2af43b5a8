#include "FactoryDrivingPanel.h"

#include "BenchCar.h"
#include "core/DataValues.h"

#include <QComboBox>
#include <QElapsedTimer>
#include <QFormLayout>
#include <QLabel>

#include <memory>

namespace {

FactoryDrivingPanel::Clock monotonicClock()
{
    auto started = std::make_shared<QElapsedTimer>();
    started->start();
    return [started] { return started->elapsed(); };
}

} // namespace

FactoryDrivingPanel::FactoryDrivingPanel(QWidget* parent, Clock clock)
    : QGroupBox(QStringLiteral("Factory driving"), parent)
    , mClock(clock ? std::move(clock) : monotonicClock())
    , mStatus(new QComboBox)
    , mHeartbeat(new QLabel)
{
    mStatus->addItems(BenchCar::factoryKestroStatusNames());
    auto* form = new QFormLayout(this);
    form->addRow(QStringLiteral("Status"), mStatus);
    form->addRow(QStringLiteral("Heartbeat"), mHeartbeat);

    connect(mStatus, qOverload<int>(&QComboBox::activated), this, [](int status) { DAS_factoryKestroStatus.setValue(status); });
    connect(&DAS_factoryKestroStatus, &DataValue::changed, this, &FactoryDrivingPanel::showStatus);
    connect(&GUI_factoryKestroHeartbeat, &DataValue::changed, this, &FactoryDrivingPanel::beat);
    connect(&GUI_factoryKestro, &DataValue::changed, this, &FactoryDrivingPanel::showHeartbeat);
    showStatus();
    showHeartbeat();
}

void FactoryDrivingPanel::showStatus()
{
    DataValue::ConditionalLocker lock(DAS_factoryKestroStatus);
    const int status = DAS_factoryKestroStatus.value();
    // A status outside the list (or unknown) shows as no choice.
    mStatus->setCurrentIndex(DAS_factoryKestroStatus.isValid() && status >= 0 && status < mStatus->count() ? status : -1);
}

void FactoryDrivingPanel::beat()
{
    const qint64 now = mClock();
    mInterval = mLastBeat >= 0 ? now - mLastBeat : -1;
    mLastBeat = now;
    showHeartbeat();
}

void FactoryDrivingPanel::showHeartbeat()
{
    QString text = GUI_factoryKestroHeartbeat.toDisplayString();
    if (!GUI_factoryKestro.value()) {
        text += QStringLiteral(", stopped");
        // The next run starts afresh: its first beat has no beat before it.
        mLastBeat = -1;
        mInterval = -1;
    } else if (mInterval >= 0) {
        text += QStringLiteral(", %1 ms since the beat before").arg(mInterval);
    }
    mHeartbeat->setText(text);
}
