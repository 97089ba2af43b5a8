// The picker's sections, titles and positions, and its three levels driven by touches.
#include "CANTestCatalogue.h"

#include "diag/can/CANDataModel.h"
#include "diag/can/CANSelectorTableController.h"
#include "diag/can/CANSelectorTableModel.h"
#include "diag/can/CANView.h"
#include "diag/can/CANViewTableModel.h"
#include "Screen.h"
#include "views/ButtonView.h"
#include "views/KineticScroller.h"
#include "views/table/MultiTableView.h"
#include "views/table/TableCell.h"
#include "views/table/TableView.h"

#include <memory>

namespace {

using Sections = QList<QPair<int, int>>;

// A selector model over the whole catalogue, with table paths of its own.
struct Picker {
    Picker()
        : data(nullptr, true)
        , model(&data)
    {
    }
    void* path(const MultiTableView::Path& p)
    {
        paths.push_back(std::make_unique<MultiTableView::Path>(p));
        return paths.back().get();
    }
    Sections sections(const MultiTableView::Path& p)
    {
        void* at = path(p);
        Sections out;
        int start = 0;
        for (int s = 1; s <= model.sectionCount(at); ++s) {
            const int rows = model.sectionItemCount(TableModelIndex(at, s, 0));
            out.append({start, rows});
            start += rows;
        }
        return out;
    }
    QStringList headers(const MultiTableView::Path& p)
    {
        void* at = path(p);
        QStringList out;
        for (int s = 1; s <= model.sectionCount(at); ++s)
            out << model.titleForSection(TableModelIndex(at, s, -1));
        return out;
    }

    CANDataModel data;
    CANSelectorTableModel model;
    std::vector<std::unique_ptr<MultiTableView::Path>> paths;
};

} // namespace

TEST(CANSelectorModel, SectionsFollowNeighboursInCatalogueOrderAndTitlesTheirFirstRow)
{
    useCatalogue({{"alpha", {{"Brake", {"Bx", "by", "Ax"}}, {"Abs", {}}, {"Body", {}}, {"airbag", {}}, {"Brake2", {}}}},
                  {"Beta", {{"M", {"Aa", "Ab", "B", "a"}}}},
                  {"ALPHA2", {}}});
    Picker p;
    // Buses: a, B, A - three sections, two headed "A": equal letters apart are not merged.
    EXPECT_EQ(p.sections({}), Sections({{0, 1}, {1, 1}, {2, 1}}));
    EXPECT_EQ(p.headers({}), QStringList({"A", "B", "A"}));
    // Messages of "alpha": Brake | Abs | Body | airbag | Brake2 -> B, A, B, A, B.
    EXPECT_EQ(p.sections({0}), Sections({{0, 1}, {1, 1}, {2, 1}, {3, 1}, {4, 1}}));
    EXPECT_EQ(p.model.item(TableModelIndex(p.path({0}), 4, 0)).toString(), "airbag");
    // Signals: the add-all row, then Bx, by (one section), then Ax.
    EXPECT_EQ(p.sections({0, 0}), Sections({{0, 1}, {1, 2}, {3, 1}}));
    EXPECT_EQ(p.headers({0, 0}), QStringList({"A", "B", "A"}));
    EXPECT_EQ(p.model.item(TableModelIndex(p.path({0, 0}), 1, 0)).toString(), "ADD ALL SIGNALS");
    EXPECT_EQ(p.model.item(TableModelIndex(p.path({0, 0}), 2, 1)).toString(), "by");
    EXPECT_EQ(p.model.canItem(TableModelIndex(p.path({0, 0}), 3, 0)), signalNamed("alpha", "Brake", "Ax"));
    EXPECT_EQ(p.model.canItem(TableModelIndex(p.path({0, 0}), 1, 0)), nullptr);
    // A first signal under 'A' shares the add-all row's section.
    EXPECT_EQ(p.sections({1, 0}), Sections({{0, 3}, {3, 1}, {4, 1}}));
    EXPECT_EQ(p.model.canItem(TableModelIndex(p.path({1, 0}), 1, 2)), signalNamed("Beta", "M", "Ab"));
    EXPECT_EQ(p.model.positionOf(TableModelIndex(p.path({1, 0}), 3, 0)), 3);
    // A message without signals is the add-all row alone; a bus without messages is empty.
    EXPECT_EQ(p.sections({0, 1}), Sections({{0, 1}}));
    EXPECT_EQ(p.sections({2}), Sections());
    EXPECT_EQ(p.model.sectionCount(p.path({0, 0, 0})), 0);
    EXPECT_EQ(p.model.item(TableModelIndex(p.path({0, 0, 0}), 1, 0)).toString(), QString());
}

TEST(CANSelectorModel, AnEmptyCatalogueShowsNoRowsAndNoSections)
{
    useCatalogue({});
    Picker p;
    EXPECT_EQ(p.model.sectionCount(nullptr), 0);
    EXPECT_EQ(p.model.sectionItemCount(TableModelIndex(nullptr, 1, 0)), 0);
}

namespace {

// The viewer on a display, its picker sliding on a clock the test moves.
class CANPickerTest : public ::testing::Test, protected Screen<> {
protected:
    CANPickerTest()
        : Screen(QSize(1600, 1000))
    {
        useCatalogue({{"PT", {{"Engine", {"Rpm", "Torque", "Temp"}}, {"Gearbox", {"Gear"}}, {"Empty", {}}}},
                      {"CH", {{"Brakes", {"Pressure", "Active"}}}}});
        view = new CANView(&root, nullptr, true);
        view->setGeometry(QRect(0, 0, 1600, 1000));
        view->leftTables()->scroller()->setClock([this] { return ms; });
    }
    ~CANPickerTest() override
    {
        delete view;
        drainEvents();
    }

    // Taps the row with this label in the picker, and lets the slide finish.
    void tapLeft(const QString& label)
    {
        TableCell* cell = shownCell(view->leftTables(), label);
        ASSERT_TRUE(cell) << "no row " << label.toStdString();
        tap(cell);
        ms += 1000;
        view->leftTables()->scroller()->tick();
        drainEvents();
    }
    void back()
    {
        view->backPressed();
        ms += 1000;
        view->leftTables()->scroller()->tick();
    }
    ButtonView* button(const QString& image) const
    {
        for (ButtonView* b : view->findChildren<ButtonView*>()) {
            if (b->image() == image)
                return b;
        }
        return nullptr;
    }
    static TableCell* shownCell(DisplayView* under, const QString& label)
    {
        for (TableCell* cell : under->findChildren<TableCell*>()) {
            if (cell->isShown() && cell->describe() == label)
                return cell;
        }
        return nullptr;
    }
    QStringList selected() const
    {
        QStringList out;
        for (const CANSignalNode* s : view->selectedModel()->modelSignals())
            out << QString::fromUtf8(s->name());
        return out;
    }
    QStringList leftRows() const
    {
        QStringList out;
        for (TableCell* cell : view->leftTables()->findChildren<TableCell*>()) {
            if (cell->isShown() && !cell->index().isSectionHeader())
                out << cell->describe();
        }
        return out;
    }

    CANScratch scratch;
    qint64 ms = 0;
    CANView* view = nullptr;
};

} // namespace

TEST_F(CANPickerTest, BusMessageSignalAddsTheSignalFirstAndTitlesFollowTheDepth)
{
    EXPECT_EQ(view->leftTitle(), "Busses");
    EXPECT_EQ(leftRows(), QStringList({"PT", "CH"}));
    tapLeft("PT");
    EXPECT_EQ(view->leftTitle(), "PT Messages");
    EXPECT_EQ(leftRows(), QStringList({"Engine", "Gearbox", "Empty"}));
    tapLeft("Engine");
    EXPECT_EQ(view->leftTitle(), "PT:Engine");
    EXPECT_EQ(leftRows(), QStringList({"ADD ALL SIGNALS", "Rpm", "Torque", "Temp"}));
    EXPECT_EQ(shownCell(view->leftTables(), "Rpm")->kind(), TableCell::Action);

    tapLeft("Torque");
    tapLeft("Rpm");
    tapLeft("Rpm");  // listed already: nothing changes
    EXPECT_EQ(selected(), QStringList({"Rpm", "Torque"}));
    EXPECT_FALSE(view->leftTables()->tableAt(2)->selectedIndex().isValid());
    // The rest of the message comes in front, in catalogue order.
    tapLeft("ADD ALL SIGNALS");
    EXPECT_EQ(selected(), QStringList({"Temp", "Rpm", "Torque"}));

    // Back up one level, then into the other bus.
    tap(button("canview/back.png"));
    ms += 1000;
    view->leftTables()->scroller()->tick();
    EXPECT_EQ(view->leftTitle(), "PT Messages");
    tapLeft("Empty");
    EXPECT_EQ(leftRows(), QStringList({"ADD ALL SIGNALS"}));
    tapLeft("ADD ALL SIGNALS");
    EXPECT_EQ(selected().size(), 3);
    back();
    back();
    back();  // no higher than the buses
    EXPECT_EQ(view->leftTables()->depth(), 0);
    EXPECT_EQ(view->leftTitle(), "Busses");
    tapLeft("CH");
    tapLeft("Brakes");
    tapLeft("Active");
    EXPECT_EQ(selected(), QStringList({"Active", "Temp", "Rpm", "Torque"}));
}

TEST_F(CANPickerTest, SectionHeadersAppearFromTheThresholdOnCountingTheAddAllRow)
{
    ASSERT_TRUE(ConfigStore::write("gui/rolodex_threshold", 3));
    // Two buses, below the threshold: no headers. Reloading asks again.
    view->leftTables()->tableAt(0)->reloadData();
    EXPECT_FALSE(shownCell(view->leftTables(), "P"));
    tapLeft("PT");
    EXPECT_TRUE(shownCell(view->leftTables(), "E"));  // three messages
    EXPECT_TRUE(shownCell(view->leftTables(), "G"));
    tapLeft("Gearbox");
    // One signal and the add-all row: two rows, no headers.
    EXPECT_FALSE(shownCell(view->leftTables(), "A"));
    back();
    tapLeft("Engine");
    EXPECT_TRUE(shownCell(view->leftTables(), "A"));  // three signals and the add-all row
    EXPECT_TRUE(shownCell(view->leftTables(), "R"));
}
