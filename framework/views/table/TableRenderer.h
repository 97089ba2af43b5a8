#pragma once

#include "views/table/TableModelIndex.h"

#include <QString>

class QPainter;
class TableView;

// Draws the rows of a table whose cells are drawn, not composed of views (see
// TableCellRendererAdapter). One renderer serves every row of its tables.
class ORVANE_EXPORT TableRenderer {
public:
    // Flags of a row's state.
    enum State { Normal = 0, Pressed = 1, Selected = 2, Disabled = 4 };

    virtual ~TableRenderer();

    // The painter's origin is the row's top left corner; the row is table->cellContentWidth()
    // wide and table->rowHeight() high, and clipped to that.
    virtual void drawItem(QPainter& painter, TableView* table, const TableModelIndex& index, int state) = 0;
    // What the row shows, as one line of text, for dumps and scripts.
    virtual QString textForItem(TableView* table, const TableModelIndex& index);
};
