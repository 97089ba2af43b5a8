#include "diag/can/CANViewTableController.h"

#include "diag/can/CANViewTableModel.h"
#include "views/table/TableCellRendererAdapter.h"
#include "views/table/TableView.h"

CANViewTableController::CANViewTableController(CANViewTableModel* model, QObject* parent)
    : TableController(parent)
    , mModel(model)
{
}

TableCell* CANViewTableController::createCellForItem(TableView* table, const TableModelIndex& index)
{
    TableCell* cell = table->dequeueReusableCell(TableCell::DefaultCacheKey);
    if (!cell)
        cell = new TableCellRendererAdapter(table, &mRenderer, TableCell::Action, TableCell::DefaultCacheKey);
    // The renderer draws the row; the label is what scripts and dumps know it by.
    if (const CANSignalNode* signal = mModel->item(index).value<CANSignalNode*>())
        cell->setLabel(CANViewTableRenderer::rowTitle(signal));
    return cell;
}

void CANViewTableController::itemSelected(TableView* table, const TableModelIndex& index, const QPoint&)
{
    if (!mModel->isValid(index))
        return;
    // The row's cell is reused for whatever comes next in its place.
    table->clearSelection();
    mModel->removeItemAt(index);
}
