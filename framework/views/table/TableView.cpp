#include "views/table/TableView.h"

#include "core/Logger.h"
#include "views/KineticScroller.h"
#include "views/table/TableCell.h"
#include "views/table/TableController.h"
#include "views/table/TableModel.h"

#include <QJsonObject>

#include <algorithm>

struct TableView::Private {
    QPointer<TableModel> model;
    QPointer<TableController> controller;
    void* path = nullptr;
    int rowHeight;
    int headerHeight;
    KineticScroller* scroller = nullptr;
    // Rows and headers in table order, which is index order.
    QVector<Entry> entries;
    int contentHeight = 0;
    int rowCount = 0;
    int offset = 0;
    QMap<TableModelIndex, TableCell*> visible;
    QMultiHash<int, TableCell*> reusable;
    TableModelIndex selected;
};

namespace {
// Signal spies and queued connections of rowTapped need the pointer type by name.
[[maybe_unused]] const int gTableViewPointerType = qRegisterMetaType<TableView*>("TableView*");
} // namespace

TableView::TableView(DisplayView* parent, TableModel* model, TableController* controller, void* path, int rowHeight)
    : DisplayView(parent)
    , d(new Private)
{
    d->model = model;
    d->controller = controller ? controller : new TableController(this);
    d->path = path;
    d->rowHeight = qMax(1, rowHeight);
    d->headerHeight = qMax(1, rowHeight * 2 / 3);
    d->scroller = new KineticScroller(this);
    connect(d->scroller, &KineticScroller::offsetChanged, this, &TableView::scrolled);
    if (d->model)
        connect(d->model, &TableModel::modelItemCountChanged, this, &TableView::reloadData);
    reloadData();
}

TableView::~TableView() = default;

void TableView::setRowHeight(int height)
{
    d->rowHeight = qMax(1, height);
    reloadData();
}

void TableView::setHeaderHeight(int height)
{
    d->headerHeight = qMax(1, height);
    reloadData();
}

void TableView::reloadData()
{
    // A refresh while a finger is on a row must not swallow the tap: the row's cell stays if
    // the row still shows what the finger came down on.
    TableCell* held = nullptr;
    for (TableCell* cell : qAsConst(d->visible)) {
        if (cell->isHeld())
            held = cell;
        else
            releaseCell(cell);
    }
    d->visible.clear();
    d->entries.clear();
    d->rowCount = 0;
    int y = 0;
    if (d->model && d->controller) {
        const bool headers = d->controller->showSectionHeaders(this);
        const int sections = d->model->sectionCount(d->path);
        for (int s = 1; s <= sections; ++s) {
            if (headers) {
                d->entries.append({TableModelIndex(d->path, s, -1), y, d->headerHeight});
                y += d->headerHeight;
            }
            const int rows = qMax(0, d->model->sectionItemCount(TableModelIndex(d->path, s, 0)));
            for (int r = 0; r < rows; ++r) {
                d->entries.append({TableModelIndex(d->path, s, r), y, d->rowHeight});
                y += d->rowHeight;
            }
            d->rowCount += rows;
        }
    }
    d->contentHeight = y;
    if (held)
        keepHeldCell(held);
    updateBounds();
    layoutCells();
    update();
}

void TableView::keepHeldCell(TableCell* cell)
{
    const TableModelIndex index = cell->index();
    if (!entryFor(index) || d->model->item(index) != cell->heldItem()) {
        releaseCell(cell);
        return;
    }
    d->visible.insert(index, cell);
    // Disabling it cancels the finger.
    cell->enable(d->model->isEnabled(index), false);
    cell->update();
}

void TableView::resized()
{
    DisplayView::resized();
    updateBounds();
    layoutCells();
}

void TableView::updateBounds()
{
    d->scroller->setBounds(QPointF(0, 0), QPointF(0, qMax(0, d->contentHeight - height())));
}

void TableView::scrolled(const QPointF& offset)
{
    d->offset = qRound(offset.y());
    layoutCells();
}

void TableView::scrollToRow(const TableModelIndex& index)
{
    const Entry* entry = entryFor(index);
    if (!entry) {
        Logger(this, "WARN") << "no row" << index.section() << index.row() << "to scroll to";
        return;
    }
    d->scroller->setOffset(QPointF(0, entry->top));
}

bool TableView::stopScrolling()
{
    const bool wasMoving = d->scroller->isMoving();
    d->scroller->stop();
    return wasMoving;
}

const TableView::Entry* TableView::entryFor(const TableModelIndex& index) const
{
    const auto it = std::lower_bound(d->entries.cbegin(), d->entries.cend(), index,
                                     [](const Entry& e, const TableModelIndex& i) { return e.index < i; });
    return it != d->entries.cend() && it->index == index ? &*it : nullptr;
}

void TableView::layoutCells()
{
    // The entries in sight: from the first that ends below the top edge to the last that
    // starts above the bottom edge.
    const int top = d->offset;
    const int bottom = d->offset + height();
    const auto first = std::upper_bound(d->entries.cbegin(), d->entries.cend(), top,
                                        [](int y, const Entry& e) { return y < e.top + e.height; });
    auto last = first;
    while (last != d->entries.cend() && last->top < bottom)
        ++last;

    // Cells that went out of sight go first, so the rows coming in can reuse them.
    for (auto it = d->visible.begin(); it != d->visible.end();) {
        if (first == last || it.key() < first->index || (last - 1)->index < it.key()) {
            releaseCell(it.value());
            it = d->visible.erase(it);
        } else {
            ++it;
        }
    }
    for (auto e = first; e != last; ++e) {
        TableCell* cell = d->visible.value(e->index);
        if (!cell) {
            cell = makeCell(e->index);
            if (!cell)
                continue;
            d->visible.insert(e->index, cell);
        }
        cell->setGeometry(QRect(0, e->top - d->offset, width(), e->height));
    }
}

TableCell* TableView::makeCell(const TableModelIndex& index)
{
    TableCell* cell = d->controller->createCellForItem(this, index);
    if (!cell) {
        Logger(this, "WARN") << "the controller made no cell for" << index.section() << index.row();
        return nullptr;
    }
    if (cell->table() != this) {
        Logger(this, "ERROR") << "the controller gave a cell of another table for" << index.section() << index.row();
        return nullptr;
    }
    cell->setIndex(index);
    cell->enable(index.isSectionHeader() || d->model->isEnabled(index), false);
    cell->setSelected(index == d->selected);
    cell->show();
    return cell;
}

void TableView::releaseCell(TableCell* cell)
{
    cell->hide();
    // A finger on it is not a tap on whatever row it shows next.
    cell->forgetTouch();
    // Enough cells to fill the table are kept; a controller that never reuses them must not
    // pile them up.
    if (d->reusable.count(cell->cacheKey()) > height() / d->rowHeight + 2) {
        cell->deleteLater();
        return;
    }
    d->reusable.insert(cell->cacheKey(), cell);
}

TableCell* TableView::dequeueReusableCell(int cacheKey)
{
    return d->reusable.take(cacheKey);
}

void TableView::selectRow(const TableModelIndex& index)
{
    d->selected = index;
    for (auto it = d->visible.cbegin(); it != d->visible.cend(); ++it)
        it.value()->setSelected(it.key() == index);
}

void TableView::cellTapped(TableCell* cell, const QPoint& point)
{
    if (!d->model || !d->controller)
        return;
    const TableModelIndex index = cell->index();
    // The model has the last word: the row may have been disabled since its cell was made.
    if (!d->model->isEnabled(index)) {
        cell->enable(false);
        return;
    }
    selectRow(index);
    d->controller->itemSelected(this, index, point);
}

bool TableView::touchEvent(const TouchEvent& event)
{
    // Reached directly on empty space, headers and disabled rows, or when taken over from a
    // cell: a finger here only scrolls.
    d->scroller->touch(event);
    return true;
}

bool TableView::takesOverTouch(const QPoint& movedBy) const
{
    return d->scroller->takesOverVertical(movedBy);
}

void TableView::dumpProperties(QJsonObject& out) const
{
    out.insert(QStringLiteral("rows"), d->rowCount);
    out.insert(QStringLiteral("scrollOffset"), d->offset);
    out.insert(QStringLiteral("contentHeight"), d->contentHeight);
    if (d->selected.isValid()) {
        out.insert(QStringLiteral("selectedSection"), d->selected.section());
        out.insert(QStringLiteral("selectedRow"), d->selected.row());
    }
}

TableModel* TableView::model() const
{
    return d->model;
}

TableController* TableView::controller() const
{
    return d->controller;
}

void* TableView::path() const
{
    return d->path;
}

int TableView::rowHeight() const
{
    return d->rowHeight;
}

int TableView::headerHeight() const
{
    return d->headerHeight;
}

int TableView::contentHeight() const
{
    return d->contentHeight;
}

int TableView::rowCount() const
{
    return d->rowCount;
}

bool TableView::canScroll() const
{
    return d->contentHeight > height();
}

int TableView::scrollOffset() const
{
    return d->offset;
}

KineticScroller* TableView::scroller() const
{
    return d->scroller;
}

QList<TableCell*> TableView::visibleCells() const
{
    return d->visible.values();
}

TableCell* TableView::cellForIndex(const TableModelIndex& index) const
{
    return d->visible.value(index);
}

TableModelIndex TableView::selectedIndex() const
{
    return d->selected;
}
