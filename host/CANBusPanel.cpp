#include "CANBusPanel.h"

#include "can/CANData.h"
#include "can/CANDataManager.h"

#include <QFileDialog>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QTableWidget>
#include <QVBoxLayout>

CANBusPanel::CANBusPanel(QWidget* parent)
    : QWidget(parent)
    , mTable(new QTableWidget(0, 6))
{
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(new QLabel(QStringLiteral("CAN buses")));
    mTable->setHorizontalHeaderLabels({QStringLiteral("Bus"), QStringLiteral("Frames/s"), QStringLiteral("Frames"),
                                       QStringLiteral("Unknown ids"), QStringLiteral("Short"), QStringLiteral("Dropped")});
    mTable->verticalHeader()->hide();
    mTable->setEditTriggers(QAbstractItemView::NoEditTriggers);
    mTable->horizontalHeader()->setSectionResizeMode(QHeaderView::ResizeToContents);
    layout->addWidget(mTable);
    auto* replay = new QPushButton(QStringLiteral("Replay another CAN log..."));
    layout->addWidget(replay);
    connect(replay, &QPushButton::clicked, this, &CANBusPanel::chooseLog);

    mTimer.setInterval(1000);
    connect(&mTimer, &QTimer::timeout, this, &CANBusPanel::refresh);
    mTimer.start();
    refresh();
}

void CANBusPanel::refresh()
{
    const CANData& catalogue = CANDataManager::catalogue();
    mTable->setRowCount(catalogue.busCount() + 1);
    for (int row = 0; row <= catalogue.busCount(); ++row) {
        // The frames no bus could take come last.
        const int bus = row < catalogue.busCount() ? row : CANDecoder::Unrouted;
        const CANDecoder::Counters c = CANDataManager::busCounters(bus);
        const QString name = bus == CANDecoder::Unrouted ? QStringLiteral("(no bus)") : QString::fromUtf8(catalogue.busAt(bus)->name());
        const QStringList cells{name, QString::number(c.framesPerSecond, 'f', 0), QString::number(c.frames),
                                QString::number(c.unknownIds), QString::number(c.shortFrames), QString::number(c.droppedFrames)};
        for (int column = 0; column < cells.size(); ++column) {
            QTableWidgetItem* item = mTable->item(row, column);
            if (!item) {
                item = new QTableWidgetItem;
                mTable->setItem(row, column, item);
            }
            item->setText(cells[column]);
        }
    }
}

void CANBusPanel::chooseLog()
{
    const QString path = QFileDialog::getOpenFileName(this, QStringLiteral("Replay a candump log"), QString(),
                                                      QStringLiteral("candump logs (*.log *.txt);;All files (*)"));
    if (path.isEmpty())
        return;
    // Looped in real time: the bench keeps showing traffic, as a car would.
    CANDataManager::switchToLogReplay(path, 1.0, true);
    refresh();
}
