#include "views/table/TableView.h"

#include "core/Logger.h"
#include "views/KineticScroller.h"
#include "views/table/TableCell.h"
#include "views/table/TableController.h"
#include "views/table/TableModel.h"

#include <QJsonObject>

#include <algorithm>

namespace {
// Signal spies and queued connections of rowTapped need the pointer type by name.
[[maybe_unused]] const int gTableViewPointerType = qRegisterMetaType<TableView*>("TableView*");
} // namespace

TableView::TableView(DisplayView* parent, TableModel* model, TableController* controller, void* path, int rowHeight)
    : DisplayView(parent)
    , mModel(model)
    , mController(controller ? controller : new TableController(this))
    , mPath(path)
    , mRowHeight(qMax(1, rowHeight))
    , mHeaderHeight(qMax(1, rowHeight * 2 / 3))
    , mScroller(new KineticScroller(this))
{
    connect(mScroller, &KineticScroller::offsetChanged, this, &TableView::scrolled);
    if (mModel)
        connect(mModel, &TableModel::modelItemCountChanged, this, &TableView::reloadData);
    reloadData();
}

void TableView::setRowHeight(int height)
{
    mRowHeight = qMax(1, height);
    reloadData();
}

void TableView::setHeaderHeight(int height)
{
    mHeaderHeight = qMax(1, height);
    reloadData();
}

void TableView::reloadData()
{
    // A refresh while a finger is on a row must not swallow the tap: the row's cell stays if
    // the row still shows what the finger came down on.
    TableCell* held = nullptr;
    for (TableCell* cell : qAsConst(mVisible)) {
        if (cell->isHeld())
            held = cell;
        else
            releaseCell(cell);
    }
    mVisible.clear();
    mEntries.clear();
    mRowCount = 0;
    int y = 0;
    if (mModel && mController) {
        const bool headers = mController->showSectionHeaders(this);
        const int sections = mModel->sectionCount(mPath);
        for (int s = 1; s <= sections; ++s) {
            if (headers) {
                mEntries.append({TableModelIndex(mPath, s, -1), y, mHeaderHeight});
                y += mHeaderHeight;
            }
            const int rows = qMax(0, mModel->sectionItemCount(TableModelIndex(mPath, s, 0)));
            for (int r = 0; r < rows; ++r) {
                mEntries.append({TableModelIndex(mPath, s, r), y, mRowHeight});
                y += mRowHeight;
            }
            mRowCount += rows;
        }
    }
    mContentHeight = y;
    if (held)
        keepHeldCell(held);
    updateBounds();
    layoutCells();
    update();
}

void TableView::keepHeldCell(TableCell* cell)
{
    const TableModelIndex index = cell->index();
    if (!entryFor(index) || mModel->item(index) != cell->heldItem()) {
        releaseCell(cell);
        return;
    }
    mVisible.insert(index, cell);
    // Disabling it cancels the finger.
    cell->enable(mModel->isEnabled(index), false);
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
    mScroller->setBounds(QPointF(0, 0), QPointF(0, qMax(0, mContentHeight - height())));
}

void TableView::scrolled(const QPointF& offset)
{
    mOffset = qRound(offset.y());
    layoutCells();
}

void TableView::scrollToRow(const TableModelIndex& index)
{
    const Entry* entry = entryFor(index);
    if (!entry) {
        Logger(this, "WARN") << "no row" << index.section() << index.row() << "to scroll to";
        return;
    }
    mScroller->setOffset(QPointF(0, entry->top));
}

bool TableView::stopScrolling()
{
    const bool wasMoving = mScroller->isMoving();
    mScroller->stop();
    return wasMoving;
}

const TableView::Entry* TableView::entryFor(const TableModelIndex& index) const
{
    const auto it = std::lower_bound(mEntries.cbegin(), mEntries.cend(), index,
                                     [](const Entry& e, const TableModelIndex& i) { return e.index < i; });
    return it != mEntries.cend() && it->index == index ? &*it : nullptr;
}

void TableView::layoutCells()
{
    // The entries in sight: from the first that ends below the top edge to the last that
    // starts above the bottom edge.
    const int top = mOffset;
    const int bottom = mOffset + height();
    const auto first = std::upper_bound(mEntries.cbegin(), mEntries.cend(), top,
                                        [](int y, const Entry& e) { return y < e.top + e.height; });
    auto last = first;
    while (last != mEntries.cend() && last->top < bottom)
        ++last;

    // Cells that went out of sight go first, so the rows coming in can reuse them.
    for (auto it = mVisible.begin(); it != mVisible.end();) {
        if (first == last || it.key() < first->index || (last - 1)->index < it.key()) {
            releaseCell(it.value());
            it = mVisible.erase(it);
        } else {
            ++it;
        }
    }
    for (auto e = first; e != last; ++e) {
        TableCell* cell = mVisible.value(e->index);
        if (!cell) {
            cell = makeCell(e->index);
            if (!cell)
                continue;
            mVisible.insert(e->index, cell);
        }
        cell->setGeometry(QRect(0, e->top - mOffset, width(), e->height));
    }
}

TableCell* TableView::makeCell(const TableModelIndex& index)
{
    TableCell* cell = mController->createCellForItem(this, index);
    if (!cell) {
        Logger(this, "WARN") << "the controller made no cell for" << index.section() << index.row();
        return nullptr;
    }
    if (cell->table() != this) {
        Logger(this, "ERROR") << "the controller gave a cell of another table for" << index.section() << index.row();
        return nullptr;
    }
    cell->setIndex(index);
    cell->enable(index.isSectionHeader() || mModel->isEnabled(index), false);
    cell->setSelected(index == mSelected);
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
    if (mReusable.count(cell->cacheKey()) > height() / mRowHeight + 2) {
        cell->deleteLater();
        return;
    }
    mReusable.insert(cell->cacheKey(), cell);
}

TableCell* TableView::dequeueReusableCell(int cacheKey)
{
    return mReusable.take(cacheKey);
}

void TableView::selectRow(const TableModelIndex& index)
{
    mSelected = index;
    for (auto it = mVisible.cbegin(); it != mVisible.cend(); ++it)
        it.value()->setSelected(it.key() == index);
}

void TableView::cellTapped(TableCell* cell, const QPoint& point)
{
    if (!mModel || !mController)
        return;
    const TableModelIndex index = cell->index();
    // The model has the last word: the row may have been disabled since its cell was made.
    if (!mModel->isEnabled(index)) {
        cell->enable(false);
        return;
    }
    selectRow(index);
    mController->itemSelected(this, index, point);
}

bool TableView::touchEvent(const TouchEvent& event)
{
    // Reached directly on empty space, headers and disabled rows, or when taken over from a
    // cell: a finger here only scrolls.
    mScroller->touch(event);
    return true;
}

bool TableView::takesOverTouch(const QPoint& movedBy) const
{
    return mScroller->takesOverVertical(movedBy);
}

void TableView::dumpProperties(QJsonObject& out) const
{
    out.insert(QStringLiteral("rows"), mRowCount);
    out.insert(QStringLiteral("scrollOffset"), mOffset);
    out.insert(QStringLiteral("contentHeight"), mContentHeight);
    if (mSelected.isValid()) {
        out.insert(QStringLiteral("selectedSection"), mSelected.section());
        out.insert(QStringLiteral("selectedRow"), mSelected.row());
    }
}
