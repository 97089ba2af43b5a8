#pragma once

#include "core/ConfigValue.h"
#include "views/table/TableModelIndex.h"

#include <QObject>
#include <QPoint>

class TableCell;
class TableView;

// Lists with at least this many rows are "rolodexed": their rows are grouped in sections
// headed by the grouping letter of their titles (LocaleManager::groupingStringForTitle). Read
// by controllers that group rows, in showSectionHeaders().
extern ORVANE_EXPORT ConfigIntValue RolodexThreshold;

// Makes the cells of one or more tables and hears their taps. Subclasses make their own
// cells (reusing released ones by cache key) and act on taps; the default shows the model's
// item texts and section titles and reports taps as rowTapped.
class ORVANE_EXPORT TableController : public QObject {
    Q_OBJECT
public:
    explicit TableController(QObject* parent = nullptr);

    // The cell for a row, or for a section header when the index's row is negative. It must
    // be a cell of `table`: a released one (TableView::dequeueReusableCell) or a new one.
    virtual TableCell* createCellForItem(TableView* table, const TableModelIndex& index);
    // A tap on an enabled row, at `point` in the table's coordinates; the table has selected
    // the row already.
    virtual void itemSelected(TableView* table, const TableModelIndex& index, const QPoint& point);
    // Whether the table puts a header above each section.
    virtual bool showSectionHeaders(TableView* table);

signals:
    void rowTapped(TableView* table, const TableModelIndex& index);
};
