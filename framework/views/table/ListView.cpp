#include "views/table/ListView.h"

#include "views/DropDownPickerStringTableModel.h"
#include "views/table/TableCell.h"
#include "views/table/TableController.h"

struct ListView::Private {
    DropDownPickerStringTableModel* items;
    int rowsInView = 0; // 0 keeps the table's row height
    int textPixelSize = 0;
};

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
    , d(std::make_unique<Private>())
{
    d->items = static_cast<DropDownPickerStringTableModel*>(model());
    // Made before this view existed, so adopted now.
    d->items->setParent(this);
    controller()->setParent(this);
    connect(controller(), &TableController::rowTapped, this,
            [this](TableView*, const TableModelIndex& index) { emit itemChosen(index.row(), d->items->choices().value(index.row())); });
}

ListView::~ListView() = default;

int ListView::rowsInView() const
{
    return d->rowsInView;
}

int ListView::textPixelSize() const
{
    return d->textPixelSize;
}

QStringList ListView::items() const
{
    return d->items->choices();
}

void ListView::setScaleFactor(int rowsInView, int textPixelSize)
{
    d->rowsInView = qMax(0, rowsInView);
    d->textPixelSize = qMax(0, textPixelSize);
    static_cast<Controller*>(controller())->textPixelSize = d->textPixelSize;
    for (TableCell* cell : visibleCells())
        cell->setTextPixelSize(d->textPixelSize);
    fitRows();
}

void ListView::resized()
{
    fitRows();
    TableView::resized();
}

void ListView::fitRows()
{
    if (d->rowsInView > 0 && height() >= d->rowsInView)
        setRowHeight(height() / d->rowsInView);
}
