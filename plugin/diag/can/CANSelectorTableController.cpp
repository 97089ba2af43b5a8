#include "diag/can/CANSelectorTableController.h"

#include "diag/can/CANDataModel.h"
#include "diag/can/CANSelectorTableModel.h"
#include "diag/can/CANViewTableModel.h"
#include "views/table/MultiTableView.h"
#include "views/table/TableCell.h"
#include "views/table/TableView.h"

namespace {
// Each level fills the whole picker.
constexpr qreal FullWidth = 100.0;
constexpr qreal BackSeconds = 0.5;
} // namespace

CANSelectorTableController::CANSelectorTableController(CANSelectorTableModel* model, TableView* rightTable,
                                                       CANDataModel* data, QObject* parent)
    : TableController(parent)
    , mModel(model)
    , mRightTable(rightTable)
    , mData(data)
{
}

int CANSelectorTableController::levelOf(const TableView* table) const
{
    return mTables ? mTables->tagOf(table) : -1;
}

void CANSelectorTableController::createFirstTable(MultiTableView* tables)
{
    tables->createTable(BusLevel, TableModelIndex(), FullWidth);
}

TableCell* CANSelectorTableController::createCellForItem(TableView* table, const TableModelIndex& index)
{
    if (index.isSectionHeader())
        return TableController::createCellForItem(table, index);
    TableCell* cell = table->dequeueReusableCell(TableCell::DefaultCacheKey);
    if (!cell)
        cell = new TableCell(table, levelOf(table) == SignalLevel ? TableCell::Action : TableCell::Plain);
    cell->setLabel(mModel->item(index).toString());
    return cell;
}

void CANSelectorTableController::itemSelected(TableView* table, const TableModelIndex& index, const QPoint&)
{
    if (!mTables)
        return;
    switch (levelOf(table)) {
    case BusLevel:
        mTables->createTable(MessageLevel, index, FullWidth);
        return;
    case MessageLevel:
        mTables->createTable(SignalLevel, index, FullWidth);
        return;
    case SignalLevel:
        break;
    default:
        return;
    }
    auto* selected = static_cast<CANViewTableModel*>(mRightTable->model());
    if (CANSignalNode* signal = mModel->canItem(index)) {
        selected->addItem(signal, false);
    } else {
        // Added from the last to the first, so they stand at the front in catalogue order.
        const MultiTableView::Path& path = MultiTableView::path(table->path());
        for (int s = mData->getSignalCount(path[0], path[1]) - 1; s >= 0; --s)
            selected->addItem(mData->getSignal(path[0], path[1], s), false);
    }
    table->clearSelection();
    table->update();
}

bool CANSelectorTableController::showSectionHeaders(TableView* table)
{
    const MultiTableView::Path& path = MultiTableView::path(table->path());
    int rows = 0;
    switch (levelOf(table)) {
    case BusLevel:
        rows = mData->getBusCount();
        break;
    case MessageLevel:
        rows = mData->getMessageCount(path[0]);
        break;
    case SignalLevel:
        rows = mData->getSignalCount(path[0], path[1]) + 1;
        break;
    default:
        return false;
    }
    return rows >= RolodexThreshold.value();
}

void CANSelectorTableController::backPressed()
{
    if (mTables)
        mTables->showTable(qMax(0, mTables->depth() - 1), BackSeconds);
}
