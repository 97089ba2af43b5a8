#pragma once

#include "views/DisplayView.h"
#include "views/table/TableController.h"
#include "views/table/TableModel.h"

#include <QHash>
#include <QMap>
#include <QPointer>

class KineticScroller;
class TableCell;

// A vertical list of a model's sections and rows at one table path. Rows are one height, and
// only the rows in sight have cells (made by the controller, reused once scrolled away). The
// list scrolls with momentum and takes a finger over from its cells once it moves
// vertically. A tap on an enabled row selects it and tells the controller; disabled rows are
// greyed and refuse taps.
class ORVANE_EXPORT TableView : public DisplayView {
    Q_OBJECT
public:
    // Without a controller the table makes a default one (text cells, rowTapped signal).
    TableView(DisplayView* parent, TableModel* model, TableController* controller = nullptr, void* path = nullptr,
              int rowHeight = 60);

    TableModel* model() const { return mModel; }
    TableController* controller() const { return mController; }
    void* path() const { return mPath; }

    int rowHeight() const { return mRowHeight; }
    int headerHeight() const { return mHeaderHeight; }
    void setHeaderHeight(int height);
    void setRowHeight(int height);
    int cellContentWidth() const { return width(); }
    int contentHeight() const { return mContentHeight; }
    // Rows, headers not counted.
    int rowCount() const { return mRowCount; }
    // Whether the content is taller than the table.
    bool canScroll() const { return mContentHeight > height(); }

    int scrollOffset() const { return mOffset; }
    // Brings the row (or header) to the top, as far as the content allows.
    void scrollToRow(const TableModelIndex& index);
    // Stops a glide; true when the list was moving.
    bool stopScrolling();
    KineticScroller* scroller() const { return mScroller; }

    // Cells of the rows in sight, in table order; each knows its index and root geometry.
    QList<TableCell*> visibleCells() const { return mVisible.values(); }
    TableCell* cellForIndex(const TableModelIndex& index) const { return mVisible.value(index); }
    // A released cell of that cache key, for the controller to fill, or null.
    TableCell* dequeueReusableCell(int cacheKey);

    TableModelIndex selectedIndex() const { return mSelected; }
    void selectRow(const TableModelIndex& index);
    void clearSelection() { selectRow(TableModelIndex()); }

    bool touchEvent(const TouchEvent& event) override;
    bool takesOverTouch(const QPoint& movedBy) const override;
    void dumpProperties(QJsonObject& out) const override;

public slots:
    // Reads the model again; the model's modelItemCountChanged() calls it.
    void reloadData();
    void resized() override;

private:
    friend class TableCell;
    struct Entry {
        TableModelIndex index;
        int top;
        int height;
    };

    void cellTapped(TableCell* cell, const QPoint& point);
    void scrolled(const QPointF& offset);
    void updateBounds();
    void layoutCells();
    TableCell* makeCell(const TableModelIndex& index);
    void releaseCell(TableCell* cell);
    void keepHeldCell(TableCell* cell);
    const Entry* entryFor(const TableModelIndex& index) const;

    QPointer<TableModel> mModel;
    QPointer<TableController> mController;
    void* mPath;
    int mRowHeight;
    int mHeaderHeight;
    KineticScroller* mScroller;
    // Rows and headers in table order, which is index order.
    QVector<Entry> mEntries;
    int mContentHeight = 0;
    int mRowCount = 0;
    int mOffset = 0;
    QMap<TableModelIndex, TableCell*> mVisible;
    QMultiHash<int, TableCell*> mReusable;
    TableModelIndex mSelected;
};
