#include "views/table/ListView.h"

#include "views/DropDownPickerStringTableModel.h"
#include "views/table/TableCell.h"
#include "views/table/TableController.h"

// Default cells, at the list's text size.
class ListView::Controller : public TableController {
public:
    TableCell* createCellForItem(TableView* table, const TableModelIndex& index) override
    {
        TableCell* cell = TableController::createCellForItem(table, index);
        cell->setTextPixelSize(textPixelSize);
        return cell;
    }

    int textPixelSize = 0;
};

ListView::ListView(DisplayView* parent, const QStringList& items)
    : TableView(parent, new DropDownPickerStringTableModel(items), new Controller)
    , mItems(static_cast<DropDownPickerStringTableModel*>(model()))
{
    // Made before this view existed, so adopted now.
    mItems->setParent(this);
    controller()->setParent(this);
    connect(controller(), &TableController::rowTapped, this,
            [this](TableView*, const TableModelIndex& index) { emit itemChosen(index.row(), mItems->choices().value(index.row())); });
}

QStringList ListView::items() const
{
    return mItems->choices();
}

void ListView::setScaleFactor(int rowsInView, int textPixelSize)
{
    mRowsInView = qMax(0, rowsInView);
    mTextPixelSize = qMax(0, textPixelSize);
    static_cast<Controller*>(controller())->textPixelSize = mTextPixelSize;
    for (TableCell* cell : visibleCells())
        cell->setTextPixelSize(mTextPixelSize);
    fitRows();
}

void ListView::resized()
{
    fitRows();
    TableView::resized();
}

void ListView::fitRows()
{
    if (mRowsInView > 0 && height() >= mRowsInView)
        setRowHeight(height() / mRowsInView);
}
