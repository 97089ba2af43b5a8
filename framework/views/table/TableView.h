#pragma once

#include "views/DisplayView.h"
#include "views/table/TableController.h"
#include "views/table/TableModel.h"

#include <QHash>
#include <QMap>
#include <QPointer>
#include <memory>

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
    ~TableView() override;

    TableModel* model() const;
    TableController* controller() const;
    void* path() const;

    int rowHeight() const;
    int headerHeight() const;
    void setHeaderHeight(int height);
    void setRowHeight(int height);
    int cellContentWidth() const { return width(); }
    int contentHeight() const;
    // Rows, headers not counted.
    int rowCount() const;
    // Whether the content is taller than the table.
    bool canScroll() const;

    int scrollOffset() const;
    // Brings the row (or header) to the top, as far as the content allows.
    void scrollToRow(const TableModelIndex& index);
    // Stops a glide; true when the list was moving.
    bool stopScrolling();
    KineticScroller* scroller() const;

    // Cells of the rows in sight, in table order; each knows its index and root geometry.
    QList<TableCell*> visibleCells() const;
    TableCell* cellForIndex(const TableModelIndex& index) const;
    // A released cell of that cache key, for the controller to fill, or null.
    TableCell* dequeueReusableCell(int cacheKey);

    TableModelIndex selectedIndex() const;
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

    struct Private;
    std::unique_ptr<Private> d;
};
