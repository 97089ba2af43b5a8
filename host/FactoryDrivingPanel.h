#pragma once

#include <QGroupBox>

#include <functional>

class QComboBox;
class QLabel;

// The driver assistance behind factory driving, on the bench's side panel: its status, which
// the person at the bench sets, and the UI's heartbeat with the time between the last beats.
class FactoryDrivingPanel : public QGroupBox {
    Q_OBJECT
public:
    // Milliseconds of a monotonic clock.
    using Clock = std::function<qint64()>;

    explicit FactoryDrivingPanel(QWidget* parent = nullptr, Clock clock = {});

    QComboBox* statusChoice() const { return mStatus; }
    QLabel* heartbeatLabel() const { return mHeartbeat; }

private:
    void showStatus();
    void beat();
    void showHeartbeat();

    Clock mClock;
    QComboBox* mStatus;
    QLabel* mHeartbeat;
    qint64 mLastBeat = -1;
    qint64 mInterval = -1;
};
