#include "BenchWindow.h"

#include "BenchHost.h"
#include "CANBusPanel.h"
#include "DisplayWidget.h"
#include "FactoryDrivingPanel.h"
#include "core/DataValue.h"
#include "views/CenterDisplay.h"
#include "services/PlatformJournal.h"

#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMessageBox>
#include <QPushButton>
#include <QStyledItemDelegate>
#include <QTableWidget>
#include <QVBoxLayout>

namespace {

enum Column { NameColumn, TypeColumn, ValueColumn };
// The value alone, without its state: what an edit starts from.
constexpr int PlainValueRole = Qt::UserRole;

class ValueEditDelegate : public QStyledItemDelegate {
public:
    using QStyledItemDelegate::QStyledItemDelegate;
    void setEditorData(QWidget* editor, const QModelIndex& index) const override
    {
        if (auto* line = qobject_cast<QLineEdit*>(editor))
            line->setText(index.data(PlainValueRole).toString());
        else
            QStyledItemDelegate::setEditorData(editor, index);
    }
};

QTableWidgetItem* readOnlyItem(const QString& text)
{
    auto* item = new QTableWidgetItem(text);
    item->setFlags(item->flags() & ~Qt::ItemIsEditable);
    return item;
}

} // namespace

BenchWindow::BenchWindow(BenchHost* host)
    : mHost(host)
    , mValues(new QTableWidget(0, 3))
    , mJournal(new QListWidget)
{
    setWindowTitle(QStringLiteral("orvane-bench"));
    auto* layout = new QHBoxLayout(this);
    auto* display = new DisplayWidget(host->display());
    layout->addWidget(display, 1);

    auto* panel = new QVBoxLayout;
    panel->addWidget(new QLabel(QStringLiteral("Data values (double-click a value to set it)")));
    mValues->setHorizontalHeaderLabels({QStringLiteral("Name"), QStringLiteral("Type"), QStringLiteral("Value")});
    mValues->verticalHeader()->hide();
    mValues->horizontalHeader()->setSectionResizeMode(QHeaderView::ResizeToContents);
    mValues->horizontalHeader()->setStretchLastSection(true);
    mValues->setItemDelegateForColumn(ValueColumn, new ValueEditDelegate(mValues));
    panel->addWidget(mValues, 2);
    auto* accept = new QPushButton(QStringLiteral("Car accepts pending requests now"));
    panel->addWidget(accept);
    panel->addWidget(new FactoryDrivingPanel);
    panel->addWidget(new QLabel(QStringLiteral("Platform journal")));
    panel->addWidget(mJournal, 1);
    panel->addWidget(new CANBusPanel);
    auto* restart = new QPushButton(QStringLiteral("Restart UI"));
    panel->addWidget(restart);
    auto* side = new QWidget;
    side->setLayout(panel);
    side->setFixedWidth(400);
    layout->addWidget(side);

    const QList<DataValue*> values = DataValueRegistry::all();
    mFilling = true;
    mValues->setRowCount(values.size());
    for (int row = 0; row < values.size(); ++row) {
        DataValue* value = values[row];
        mRows.insert(value, row);
        mValues->setItem(row, NameColumn, readOnlyItem(value->name()));
        mValues->setItem(row, TypeColumn, readOnlyItem(DataValue::typeName(value->type())));
        mValues->setItem(row, ValueColumn, new QTableWidgetItem);
        showValue(value);
        // One row per change: a busy car must not rebuild the table.
        connect(value, &DataValue::changed, this, [this, value] { showValue(value); });
    }
    mFilling = false;
    connect(mValues, &QTableWidget::cellChanged, this, &BenchWindow::valueEdited);

    for (const PlatformRequest& request : PlatformJournal::instance()->requests())
        mJournal->addItem(request.text());
    connect(PlatformJournal::instance(), &PlatformJournal::recorded, mJournal, [this](const PlatformRequest& request) {
        mJournal->addItem(request.text());
        mJournal->scrollToBottom();
    });
    connect(accept, &QPushButton::clicked, host->car(), &BenchCar::acceptWaiting);
    connect(restart, &QPushButton::clicked, theCenterDisplay, [] { theCenterDisplay->restart(QStringLiteral("bench")); });
}

void BenchWindow::showValue(DataValue* value)
{
    const int row = mRows.value(value, -1);
    if (row < 0)
        return;
    const bool wasFilling = mFilling;
    mFilling = true;
    QTableWidgetItem* item = mValues->item(row, ValueColumn);
    item->setText(value->toDisplayString());
    item->setData(PlainValueRole, value->toValueString());
    mFilling = wasFilling;
}

void BenchWindow::valueEdited(int row, int column)
{
    if (mFilling || column != ValueColumn)
        return;
    DataValue* value = mRows.key(row);
    QString error;
    if (!value->setFromString(mValues->item(row, ValueColumn)->text(), &error))
        QMessageBox::warning(this, QStringLiteral("Data value not set"), error);
    showValue(value); // an unchanged or refused value still shows its state again
}
