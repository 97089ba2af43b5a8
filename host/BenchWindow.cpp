#include "BenchWindow.h"

#include "BenchHost.h"
#include "DisplayWidget.h"
#include "core/DataValue.h"
#include "services/CenterDisplay.h"
#include "services/PlatformJournal.h"

#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QListWidget>
#include <QMessageBox>
#include <QPushButton>
#include <QTableWidget>
#include <QVBoxLayout>

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
    panel->addWidget(mValues, 2);
    panel->addWidget(new QLabel(QStringLiteral("Platform journal")));
    panel->addWidget(mJournal, 1);
    auto* restart = new QPushButton(QStringLiteral("Restart UI"));
    panel->addWidget(restart);
    auto* side = new QWidget;
    side->setLayout(panel);
    side->setFixedWidth(400);
    layout->addWidget(side);

    fillValues();
    for (DataValue* value : DataValueRegistry::all())
        connect(value, &DataValue::changed, this, &BenchWindow::fillValues);
    connect(mValues, &QTableWidget::cellChanged, this, &BenchWindow::valueEdited);
    mJournal->addItems(PlatformJournal::instance()->lines());
    connect(PlatformJournal::instance(), &PlatformJournal::recorded, mJournal, [this](const QString& line) {
        mJournal->addItem(line);
        mJournal->scrollToBottom();
    });
    connect(restart, &QPushButton::clicked, theCenterDisplay, &CenterDisplay::restart);
}

void BenchWindow::fillValues()
{
    mFilling = true;
    const QList<DataValue*> values = DataValueRegistry::all();
    mValues->setRowCount(values.size());
    for (int row = 0; row < values.size(); ++row) {
        const auto cell = [](const QString& text, bool editable) {
            auto* item = new QTableWidgetItem(text);
            if (!editable)
                item->setFlags(item->flags() & ~Qt::ItemIsEditable);
            return item;
        };
        mValues->setItem(row, 0, cell(values[row]->name(), false));
        mValues->setItem(row, 1, cell(DataValue::typeName(values[row]->type()), false));
        mValues->setItem(row, 2, cell(values[row]->toDisplayString(), true));
    }
    mFilling = false;
}

void BenchWindow::valueEdited(int row, int column)
{
    if (mFilling || column != 2)
        return;
    const QString name = mValues->item(row, 0)->text();
    QString error;
    if (!BenchHost::assign(name, mValues->item(row, 2)->text(), &error))
        QMessageBox::warning(this, QStringLiteral("Data value not set"), error);
    fillValues();
}
