#include "views/table/TableController.h"

#include "views/table/TableCell.h"
#include "views/table/TableModel.h"
#include "views/table/TableView.h"

// About a screen and a half of rows: shorter lists are read at a glance.
ConfigIntValue RolodexThreshold(QStringLiteral("gui/rolodex_threshold"), 20);

TableController::TableController(QObject* parent)
    : QObject(parent)
{
}

TableCell* TableController::createCellForItem(TableView* table, const TableModelIndex& index)
{
    const bool header = index.isSectionHeader();
    const int key = header ? TableCell::HeaderCacheKey : TableCell::DefaultCacheKey;
    TableCell* cell = table->dequeueReusableCell(key);
    if (!cell)
        cell = new TableCell(table, header ? TableCell::Header : TableCell::Plain, key);
    TableModel* model = table->model();
    cell->setLabel(header ? model->titleForSection(index) : model->item(index).toString());
    return cell;
}

void TableController::itemSelected(TableView* table, const TableModelIndex& index, const QPoint&)
{
    emit rowTapped(table, index);
}

bool TableController::showSectionHeaders(TableView*)
{
    return false;
}
