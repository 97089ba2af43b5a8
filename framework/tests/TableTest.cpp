#include "views/KineticScroller.h"
#include "views/table/TableCell.h"
#include "views/table/TableCellRendererAdapter.h"
#include "views/table/TableController.h"
#include "views/table/TableModel.h"
#include "views/table/TableRenderer.h"
#include "views/table/TableView.h"
#include "Screen.h"

#include <QSet>
#include <QSignalSpy>
#include <gtest/gtest.h>

namespace {

// Sections of "S<section> R<row>" rows; rows listed in `disabled` are greyed.
class GridModel : public TableModel {
public:
    explicit GridModel(QVector<int> sections)
        : mSections(std::move(sections))
    {
    }
    int sectionCount(void* parent) override { return parent ? 0 : mSections.size(); }
    int sectionItemCount(const TableModelIndex& index) override { return mSections.value(index.section() - 1); }
    // Rich text: cells are known by the plain text.
    QVariant item(const TableModelIndex& index) override
    {
        return QStringLiteral("<b>S%1</b> R%2").arg(index.section()).arg(index.row());
    }
    QString titleForSection(const TableModelIndex& index) override { return QStringLiteral("Head %1").arg(index.section()); }
    bool isEnabled(const TableModelIndex& index) override { return !disabled.contains(index.row()); }
    void setSections(QVector<int> sections)
    {
        mSections = std::move(sections);
        emit modelItemCountChanged();
    }
    QSet<int> disabled;

private:
    QVector<int> mSections;
};

// Records which rows are drawn, in which state.
class RecordingRenderer : public TableRenderer {
public:
    void drawItem(QPainter&, TableView* table, const TableModelIndex& index, int state) override
    {
        drawn << index.row();
        states[index.row()] = state;
        widths << table->cellContentWidth();
    }
    QList<int> drawn;
    QHash<int, int> states;
    QSet<int> widths;
};

// Counts what the table asks for and the cells it really had to make: text cells, or cells
// drawn by a renderer once it has one.
class CountingController : public TableController {
public:
    TableCell* createCellForItem(TableView* table, const TableModelIndex& index) override
    {
        ++requests;
        TableCell* cell;
        if (renderer) {
            cell = table->dequeueReusableCell(RendererCacheKey);
            cell = cell ? cell : new TableCellRendererAdapter(table, renderer, TableCell::Plain, RendererCacheKey);
        } else {
            cell = TableController::createCellForItem(table, index);
        }
        made.insert(cell);
        return cell;
    }
    bool showSectionHeaders(TableView*) override { return headers; }
    enum { RendererCacheKey = 7 };
    int requests = 0;
    QSet<TableCell*> made;
    bool headers = false;
    TableRenderer* renderer = nullptr;
};

QStringList visibleLabels(const TableView& table)
{
    QStringList out;
    for (const TableCell* cell : table.visibleCells())
        out << cell->describe();
    return out;
}

// A table of 60 px rows, 300 px high, on a display, with a clock the test moves.
struct TableRig : Screen<> {
    explicit TableRig(QVector<int> sections)
        : Screen(QSize(600, 600))
        , model(std::move(sections))
        , table(&root, &model, &controller)
    {
        table.setGeometry(QRect(0, 100, 400, 300));
        table.scroller()->setClock([this] { return ms; });
    }
    void moveTo(const QPoint& p)
    {
        ms += 16;
        move(p);
    }
    void runFor(qint64 duration)
    {
        for (const qint64 end = ms + duration; ms < end;) {
            ms += 16;
            table.scroller()->tick();
        }
    }
    QPoint centreOf(int section, int row) const
    {
        return table.cellForIndex(TableModelIndex(nullptr, section, row))->rootGeometry().center();
    }

    qint64 ms = 0;
    GridModel model;
    CountingController controller;
    TableView table;
};

} // namespace

TEST(TableView, OnlyRowsInSightHaveCellsAndScrolledAwayCellsAreReused)
{
    TableRig t({1000});
    EXPECT_EQ(t.table.rowCount(), 1000);
    EXPECT_EQ(t.table.contentHeight(), 60000);
    EXPECT_EQ(visibleLabels(t.table), QStringList({"S1 R0", "S1 R1", "S1 R2", "S1 R3", "S1 R4"}));

    // Half a row off the top brings a sixth row in at the bottom.
    t.table.scroller()->setOffset(QPointF(0, 30));
    EXPECT_EQ(visibleLabels(t.table).size(), 6);
    EXPECT_EQ(t.table.cellForIndex(TableModelIndex(nullptr, 1, 0))->geometry(), QRect(0, -30, 400, 60));
    EXPECT_EQ(t.table.cellForIndex(TableModelIndex(nullptr, 1, 5))->geometry(), QRect(0, 270, 400, 60));

    for (int row = 1; row < 600; row += 7)
        t.table.scrollToRow(TableModelIndex(nullptr, 1, row));
    EXPECT_EQ(visibleLabels(t.table).first(), "S1 R596");
    EXPECT_EQ(t.table.scrollOffset(), 596 * 60);
    EXPECT_LE(t.controller.made.size(), 7);
    EXPECT_GT(t.controller.requests, 300);

    // The last rows cannot come to the top.
    t.table.scrollToRow(TableModelIndex(nullptr, 1, 998));
    EXPECT_EQ(t.table.scrollOffset(), 60000 - 300);
    EXPECT_EQ(visibleLabels(t.table).last(), "S1 R999");
}

TEST(TableView, OnlyRowsInSightAreDrawnThroughTheRenderer)
{
    TableRig t({50});
    RecordingRenderer renderer;
    t.controller.renderer = &renderer;
    t.model.disabled = {3};
    t.table.reloadData();
    t.table.resize(300, 200);
    t.table.selectRow(TableModelIndex(nullptr, 1, 1));
    t.display.render();
    EXPECT_EQ(renderer.drawn, QList<int>({0, 1, 2, 3}));
    EXPECT_EQ(renderer.states[0], TableRenderer::Normal);
    EXPECT_EQ(renderer.states[1], TableRenderer::Selected);
    EXPECT_EQ(renderer.states[3], TableRenderer::Disabled);
    EXPECT_EQ(renderer.widths, QSet<int>{300});
}

TEST(TableView, SectionHeadersComeBeforeTheirRowsAndTakeNoTaps)
{
    TableRig t({3, 2});
    QSignalSpy tapped(&t.controller, &TableController::rowTapped);
    t.controller.headers = true;
    t.table.setHeaderHeight(40);
    EXPECT_EQ(t.table.contentHeight(), 2 * 40 + 5 * 60);
    EXPECT_EQ(t.table.rowCount(), 5);
    EXPECT_EQ(visibleLabels(t.table), QStringList({"Head 1", "S1 R0", "S1 R1", "S1 R2", "Head 2", "S2 R0"}));
    TableCell* header = t.table.cellForIndex(TableModelIndex(nullptr, 2, -1));
    ASSERT_NE(header, nullptr);
    EXPECT_EQ(header->kind(), TableCell::Header);
    EXPECT_EQ(header->geometry(), QRect(0, 220, 400, 40));
    t.display.tap(header->rootGeometry().center());
    EXPECT_EQ(tapped.count(), 0);
    t.display.tap(t.centreOf(2, 0));
    ASSERT_EQ(tapped.count(), 1);
    EXPECT_EQ(tapped.first().at(1).value<TableModelIndex>(), TableModelIndex(nullptr, 2, 0));
}

TEST(TableView, ATapSelectsTheRowAndTellsTheControllerButDisabledRowsRefuse)
{
    TableRig t({10});
    t.model.disabled = {2};
    t.table.reloadData();
    QSignalSpy tapped(&t.controller, &TableController::rowTapped);

    TableCell* disabled = t.table.cellForIndex(TableModelIndex(nullptr, 1, 2));
    EXPECT_FALSE(disabled->isEnabled());
    t.display.tap(t.centreOf(1, 2));
    EXPECT_EQ(tapped.count(), 0);
    EXPECT_FALSE(t.table.selectedIndex().isValid());

    t.display.tap(t.centreOf(1, 1));
    ASSERT_EQ(tapped.count(), 1);
    EXPECT_EQ(tapped.first().at(0).value<TableView*>(), &t.table);
    EXPECT_EQ(tapped.first().at(1).value<TableModelIndex>(), TableModelIndex(nullptr, 1, 1));
    EXPECT_TRUE(t.table.cellForIndex(TableModelIndex(nullptr, 1, 1))->isSelected());
    EXPECT_EQ(t.table.selectedIndex(), TableModelIndex(nullptr, 1, 1));

    // A row the model disables after its cell was made refuses as well.
    t.model.disabled = {4};
    t.display.tap(t.centreOf(1, 4));
    EXPECT_EQ(tapped.count(), 1);
    EXPECT_FALSE(t.table.cellForIndex(TableModelIndex(nullptr, 1, 4))->isEnabled());
}

TEST(TableView, AVerticalDragTakesTheFingerFromTheRowAndScrolls)
{
    TableRig t({100});
    QSignalSpy tapped(&t.controller, &TableController::rowTapped);
    const QPoint start = t.centreOf(1, 3);
    TableCell* row = t.table.cellForIndex(TableModelIndex(nullptr, 1, 3));
    t.press(start);
    EXPECT_TRUE(row->isPressed());
    t.moveTo(start - QPoint(0, 8)); // not far enough yet: the row keeps it
    EXPECT_TRUE(row->isPressed());
    EXPECT_EQ(t.table.scrollOffset(), 0);
    t.moveTo(start - QPoint(0, 50));
    EXPECT_FALSE(row->isPressed());
    EXPECT_EQ(t.table.scrollOffset(), 50); // the whole way from the press, not from the take-over
    t.moveTo(start - QPoint(0, 50));
    t.ms += 300; // rest before lifting: no glide
    t.release(start - QPoint(0, 50));
    EXPECT_EQ(tapped.count(), 0);
    EXPECT_FALSE(t.table.scroller()->isMoving());

    // Sideways the row keeps the finger and still counts a tap when it ends on the row.
    const QPoint other = t.centreOf(1, 2);
    t.press(other);
    t.moveTo(other + QPoint(30, 0));
    t.release(other + QPoint(30, 0));
    EXPECT_EQ(tapped.count(), 1);
    EXPECT_EQ(t.table.scrollOffset(), 50);
}

TEST(TableView, AFlingGlidesOnAndAPressOnARowOnlyStopsIt)
{
    TableRig t({100});
    QSignalSpy tapped(&t.controller, &TableController::rowTapped);
    const QPoint start = t.centreOf(1, 4);
    t.press(start);
    for (int i = 1; i <= 3; ++i)
        t.moveTo(start - QPoint(0, 60 * i));
    t.release(start - QPoint(0, 180));
    EXPECT_EQ(t.table.scrollOffset(), 180);
    t.runFor(100);
    const int gliding = t.table.scrollOffset();
    EXPECT_GT(gliding, 400);
    EXPECT_EQ(visibleLabels(t.table).first(), QStringLiteral("S1 R%1").arg(gliding / 60));

    const QPoint target = t.table.visibleCells().at(2)->rootGeometry().center();
    t.display.tap(target);
    EXPECT_EQ(tapped.count(), 0);
    t.runFor(500);
    EXPECT_EQ(t.table.scrollOffset(), gliding);
    t.display.tap(target); // now it is a tap
    EXPECT_EQ(tapped.count(), 1);
}

TEST(TableView, AShortListDoesNotScrollOrTakeFingersOver)
{
    TableRig t({3});
    const QPoint start = t.centreOf(1, 0);
    t.press(start);
    t.moveTo(start + QPoint(0, 40));
    t.release(start + QPoint(0, 40));
    EXPECT_EQ(t.table.scrollOffset(), 0);
    EXPECT_FALSE(t.table.cellForIndex(TableModelIndex(nullptr, 1, 0))->isPressed());
}

TEST(TableView, ModelChangesReloadAndKeepTheOffsetInsideTheContent)
{
    TableRig t({100});
    t.table.scrollToRow(TableModelIndex(nullptr, 1, 98));
    EXPECT_EQ(t.table.scrollOffset(), 6000 - 300);
    t.model.setSections({10});
    EXPECT_EQ(t.table.rowCount(), 10);
    EXPECT_EQ(t.table.scrollOffset(), 600 - 300);
    EXPECT_EQ(visibleLabels(t.table), QStringList({"S1 R5", "S1 R6", "S1 R7", "S1 R8", "S1 R9"}));
    t.model.setSections({});
    EXPECT_TRUE(t.table.visibleCells().isEmpty());
    EXPECT_EQ(t.table.scrollOffset(), 0);
    t.model.setSections({2, 0, 1});
    EXPECT_EQ(visibleLabels(t.table), QStringList({"S1 R0", "S1 R1", "S3 R0"}));
    EXPECT_LE(t.controller.made.size(), 7);
}
