#pragma once

#include <QTimer>
#include <QWidget>

class QTableWidget;

// The bench's CAN counters, one row per bus and one for frames no bus knows, brought up to
// date every second; and a button that replays another log in place of every source.
class CANBusPanel : public QWidget {
    Q_OBJECT
public:
    explicit CANBusPanel(QWidget* parent = nullptr);

    QTableWidget* table() const { return mTable; }

public slots:
    void refresh();

private:
    void chooseLog();

    QTableWidget* mTable;
    QTimer mTimer;
};
