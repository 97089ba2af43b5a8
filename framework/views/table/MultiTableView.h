#pragma once

#include "views/DisplayView.h"
#include "views/table/TableModelIndex.h"

#include <QVector>

#include <memory>
#include <vector>

class KineticScroller;
class TableController;
class TableModel;
class TableView;

// A drill-down stack of tables over one model and controller: a row of one table opens the
// table of its children, and going back drops the deeper tables. Tables stand left to right,
// each a share of the view's width; the view rests with the deepest table at its right edge,
// slides there as tables come and go, and hides the tables out of sight.
//
// The path of each table (TableModelIndex::path() of its rows) points to a Path: the flat row
// (counted through the sections) chosen in each table above it, so the top table's is empty,
// the next one's holds one row, and so on. Models read it with MultiTableView::path().
class ORVANE_EXPORT MultiTableView : public DisplayView {
    Q_OBJECT
public:
    using Path = QVector<int>;

    MultiTableView(DisplayView* parent, TableModel* model, TableController* controller, int rowHeight = 60);
    ~MultiTableView() override;

    // Makes the table listing the children of `parent`, a row of a table in the stack (the
    // tables deeper than that one are dropped), or the top table when `parent` is not a row
    // (the stack starts over), and slides it into sight. `tag` tells the controller what kind
    // of table it is; `widthPercent` is its width as a share of this view's. Null (logged)
    // when `parent` is a row of no table here.
    TableView* createTable(int tag, const TableModelIndex& parent, qreal widthPercent);
    // Goes back to the table at `depth` (kept within the stack), dropping the deeper ones and
    // sliding there in `animationSeconds` (0 jumps).
    void showTable(int depth, qreal animationSeconds);

    // Depth of the deepest table (0 for the top one), -1 while there is none.
    int depth() const;
    TableView* tableAt(int depth) const;
    int depthOf(const TableView* table) const;
    int tagOf(const TableView* table) const;
    // The leftmost table in sight once the view is at rest.
    TableView* leftTable() const;
    // What a table path points to; empty for null (a table outside any stack).
    static const Path& path(void* tablePath);
    // Slides run on this scroller's clock.
    KineticScroller* scroller() const;

    void dumpProperties(QJsonObject& out) const override;

public slots:
    void resized() override;

signals:
    // Another table became the leftmost in sight: a new one, or an upper one on the way back.
    void leftTableChanged(TableView* table);

private:
    struct Level;

    int widthOf(const Level& level) const;
    // Where the view comes to rest: the deepest table at the right edge.
    int restingOffset() const;
    void slideToRest(int durationMs);
    void dropBelow(int depth);
    void layoutTables();
    int flatRow(const TableModelIndex& index) const;

    struct Private;
    std::unique_ptr<Private> d;
};
