#include "views/KineticScroller.h"
#include "views/table/MultiTableView.h"
#include "views/table/TableCell.h"
#include "views/table/TableController.h"
#include "views/table/TableModel.h"
#include "views/table/TableView.h"
#include "Screen.h"

#include <QSignalSpy>
#include <gtest/gtest.h>

namespace {

// A tree three levels deep: every table has two sections of three rows, titled by the path
// that leads to them.
class TreeModel : public TableModel {
public:
    int sectionCount(void* parent) override { return MultiTableView::path(parent).size() < 3 ? 2 : 0; }
    int sectionItemCount(const TableModelIndex&) override { return 3; }
    QVariant item(const TableModelIndex& index) override
    {
        QStringList parts;
        for (int row : MultiTableView::path(index.path()))
            parts << QString::number(row);
        parts << QStringLiteral("%1.%2").arg(index.section()).arg(index.row());
        return parts.join(QLatin1Char('/'));
    }
};

// Opens the next level, tagged with its depth, for every tap.
class DrillController : public TableController {
public:
    void itemSelected(TableView* table, const TableModelIndex& index, const QPoint&) override
    {
        tables->createTable(tables->depthOf(table) + 1, index, percent);
    }
    MultiTableView* tables = nullptr;
    qreal percent = 100;
};

struct Rig : Screen<> {
    Rig()
        : Screen(QSize(800, 600))
        , tables(&root, &model, &controller)
    {
        tables.setGeometry(QRect(0, 0, 800, 600));
        tables.scroller()->setClock([this] { return ms; });
        controller.tables = &tables;
    }
    void tap(const QString& label)
    {
        for (TableCell* cell : tables.findChildren<TableCell*>()) {
            if (cell->isShown() && cell->describe() == label) {
                Screen::tap(cell);
                return;
            }
        }
        ADD_FAILURE() << "no row " << label.toStdString() << " in sight";
    }
    void settle()
    {
        ms += 1000;
        tables.scroller()->tick();
        drainEvents();
    }

    qint64 ms = 0;
    TreeModel model;
    DrillController controller;
    MultiTableView tables;
};

} // namespace

TEST(MultiTableView, PathsCountRowsThroughSectionsAndShallowerTapsDropDeeperTables)
{
    Rig t;
    QSignalSpy left(&t.tables, &MultiTableView::leftTableChanged);
    TableView* top = t.tables.createTable(0, TableModelIndex(), 100.0);
    EXPECT_EQ(t.tables.depth(), 0);
    EXPECT_TRUE(MultiTableView::path(top->path()).isEmpty());
    t.settle();

    t.tap("2.1");  // second section, second row: flat row 4
    t.settle();
    ASSERT_EQ(t.tables.depth(), 1);
    EXPECT_EQ(MultiTableView::path(t.tables.tableAt(1)->path()), MultiTableView::Path({4}));
    EXPECT_EQ(t.tables.tagOf(t.tables.tableAt(1)), 1);
    t.tap("4/1.0");
    t.settle();
    EXPECT_EQ(MultiTableView::path(t.tables.tableAt(2)->path()), MultiTableView::Path({4, 0}));
    EXPECT_EQ(left.count(), 3);
    EXPECT_EQ(left.last().at(0).value<TableView*>(), t.tables.tableAt(2));
    // Only the deepest table is in sight: the others can be neither seen nor tapped.
    EXPECT_FALSE(top->isVisible());
    EXPECT_FALSE(t.tables.tableAt(1)->isVisible());

    // Back two levels at once, then a different row of the top table.
    t.tables.showTable(0, 0);
    EXPECT_EQ(t.tables.depth(), 0);
    EXPECT_EQ(left.last().at(0).value<TableView*>(), top);
    EXPECT_TRUE(top->isVisible());
    t.tap("1.0");
    t.settle();
    EXPECT_EQ(t.tables.depth(), 1);
    EXPECT_EQ(MultiTableView::path(t.tables.tableAt(1)->path()), MultiTableView::Path({0}));

    // Going back never goes above the top, and a row of a dropped table opens nothing.
    const TableModelIndex stale = TableModelIndex(t.tables.tableAt(1)->path(), 1, 0);
    t.tables.showTable(-3, 0);
    drainEvents();
    EXPECT_EQ(t.tables.depth(), 0);
    EXPECT_EQ(t.tables.createTable(1, stale, 100.0), nullptr);
    EXPECT_EQ(t.tables.findChildren<TableView*>().size(), 1);
}

TEST(MultiTableView, TablesSlideInOnTheClockAndBackInTheTimeAsked)
{
    Rig t;
    TableView* top = t.tables.createTable(0, TableModelIndex(), 100.0);
    t.settle();
    t.tap("1.1");
    TableView* next = t.tables.tableAt(1);
    // Both in sight while the new table comes in from the right edge.
    t.ms += 50;
    t.tables.scroller()->tick();
    EXPECT_TRUE(top->isVisible());
    EXPECT_GT(next->x(), 0);
    EXPECT_LT(next->x(), 800);
    EXPECT_EQ(next->x(), top->geometry().right() + 1);
    t.settle();
    EXPECT_EQ(next->geometry(), QRect(0, 0, 800, 600));
    EXPECT_FALSE(top->isVisible());

    t.tables.showTable(0, 0.5);
    t.ms += 250;
    t.tables.scroller()->tick();
    EXPECT_LT(top->x(), 0);  // still coming back from the left
    t.ms += 250;
    t.tables.scroller()->tick();
    EXPECT_EQ(top->geometry(), QRect(0, 0, 800, 600));
}

TEST(MultiTableView, NarrowTablesStandSideBySideAndTheLeftOneIsReported)
{
    Rig t;
    t.controller.percent = 50;
    QSignalSpy left(&t.tables, &MultiTableView::leftTableChanged);
    TableView* top = t.tables.createTable(0, TableModelIndex(), 50.0);
    t.settle();
    t.tap("1.2");
    t.settle();
    // Two halves fit: nothing slides, the top table stays the left one.
    EXPECT_EQ(t.tables.tableAt(1)->geometry(), QRect(400, 0, 400, 600));
    EXPECT_TRUE(top->isVisible());
    EXPECT_EQ(left.last().at(0).value<TableView*>(), top);
    t.tap("2/1.0");
    t.settle();
    // A third pushes the first out at the left.
    EXPECT_FALSE(top->isVisible());
    EXPECT_EQ(t.tables.tableAt(1)->geometry(), QRect(0, 0, 400, 600));
    EXPECT_EQ(t.tables.leftTable(), t.tables.tableAt(1));
    EXPECT_EQ(left.last().at(0).value<TableView*>(), t.tables.tableAt(1));
}
