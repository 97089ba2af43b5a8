// A finger stays down while the UI goes on: refreshes, value changes, enabling, popups and page
// switches all happen under it. Each control must either still do what the finger chose when
// it lifts, or drop the touch when what it chose is gone - never act on something else.
#include "core/DataValue.h"
#include "views/ButtonView.h"
#include "views/ConfirmingButtonView.h"
#include "views/MultiPageView.h"
#include "views/PageView.h"
#include "views/SlideSwitch.h"
#include "views/TabSelectorContainerView.h"
#include "views/TabSelectorView.h"
#include "views/popup/ConfirmationPopup.h"
#include "views/table/TableCell.h"
#include "views/table/TableController.h"
#include "views/table/TableModel.h"
#include "views/table/TableView.h"
#include "views/CenterDisplay.h"
#include "Screen.h"

#include <QPointer>
#include <QSignalSpy>

#include <functional>
#include <gtest/gtest.h>

namespace {

// One finger, lifted where it went down.
struct HeldScreen : Screen<> {
    HeldScreen()
        : Screen(QSize(1200, 800))
    {
    }
    void hold(const QPoint& p)
    {
        held = p;
        press(p);
    }
    void lift() { release(held); }
    QPoint held;
};

class NamesModel : public TableModel {
public:
    explicit NamesModel(QStringList names)
        : names(std::move(names))
    {
    }
    int sectionCount(void* parent) override { return parent ? 0 : 1; }
    int sectionItemCount(const TableModelIndex&) override { return names.size(); }
    QVariant item(const TableModelIndex& index) override { return names.value(index.row()); }
    bool isEnabled(const TableModelIndex& index) override { return !disabled.contains(names.value(index.row())); }
    void refresh() { emit modelItemCountChanged(); }
    QStringList names;
    QStringList disabled;
};

struct HeldTable : HeldScreen {
    HeldTable()
        : model({"Speed", "Gear", "Charge", "Odometer"})
        , table(&root, &model)
        , taps(table.controller(), &TableController::rowTapped)
    {
        table.setGeometry(QRect(0, 0, 600, 400));
    }
    QPoint rowCentre(int row) const { return QPoint(300, row * table.rowHeight() + table.rowHeight() / 2); }
    // The names of the rows tapped so far.
    QStringList tapped() const
    {
        QStringList out;
        for (const QList<QVariant>& args : taps)
            out << model.names.value(args[1].value<TableModelIndex>().row(), QStringLiteral("(gone)"));
        return out;
    }
    NamesModel model;
    TableView table;
    QSignalSpy taps;
};

} // namespace

TEST(HeldTouch, TableRowKeepsItsFingerThroughRefreshesAndLosesItWhenItsRowGoes)
{
    const struct {
        const char* what;
        int row;
        std::function<void(NamesModel&)> change;
        QStringList tapped;
    } cases[] = {
        {"refreshes while held must not swallow the tap", 2, [](NamesModel&) {}, {"Charge"}},
        // The finger's row now shows something else, so no tap on it.
        {"a row above goes", 2, [](NamesModel& m) { m.names.removeAt(0); }, {}},
        {"the row itself goes, the list ends above the finger", 3, [](NamesModel& m) { m.names.removeLast(); }, {}},
        {"a row disabled under the finger", 1, [](NamesModel& m) { m.disabled << "Gear"; }, {}},
        {"rows added below", 0, [](NamesModel& m) { m.names << "Torque"; }, {"Speed"}},
    };
    for (const auto& c : cases) {
        HeldTable t;
        t.hold(t.rowCentre(c.row));
        c.change(t.model);
        for (int i = 0; i < 5; ++i)
            t.model.refresh();
        t.lift();
        EXPECT_EQ(t.tapped(), c.tapped) << c.what;
    }
}

TEST(HeldTouch, ButtonHeldWhileDisabledHiddenRelabelledOrCoveredDoesNothing)
{
    const auto heldThrough = [](const std::function<void(HeldScreen&, ButtonView&)>& change) {
        HeldScreen s;
        auto* page = new DisplayView(&s.root);
        page->setGeometry(QRect(0, 0, 1200, 800));
        auto* button = new ButtonView(page, Style("SettingsPushButton"), QStringLiteral("SLEEP"));
        button->setGeometry(QRect(100, 100, 200, 80));
        QSignalSpy released(button, &ControlBase::released);
        s.hold(button->rootGeometry().center());
        change(s, *button);
        s.lift();
        for (PopupView* popup : theCenterDisplay->openPopups())
            popup->close();
        drainEvents();
        return released.count();
    };
    EXPECT_EQ(heldThrough([](HeldScreen&, ButtonView&) {}), 1);
    EXPECT_EQ(heldThrough([](HeldScreen&, ButtonView& b) { b.update(); }), 1) << "a repaint is no reason to drop the finger";
    EXPECT_EQ(heldThrough([](HeldScreen&, ButtonView& b) { b.enable(false, true); }), 0);
    EXPECT_EQ(heldThrough([](HeldScreen&, ButtonView& b) {
                  b.enable(false, true);
                  b.enable(true, true);
              }),
              0)
        << "a touch dropped stays dropped";
    EXPECT_EQ(heldThrough([](HeldScreen&, ButtonView& b) { b.parentView()->hide(); }), 0) << "its page was switched away";
    EXPECT_EQ(heldThrough([](HeldScreen&, ButtonView& b) { b.setLabel(QStringLiteral("WAKE")); }), 0);
    EXPECT_EQ(heldThrough([](HeldScreen&, ButtonView&) {
                  ConfirmationPopup::ask(QStringLiteral("Q"), QStringLiteral("Sure?"), QStringLiteral("NO"),
                                         QStringLiteral("YES"), nullptr, nullptr);
              }),
              0)
        << "a modal question came over it";
}

TEST(HeldTouch, TabHeldWhileATabIsInsertedBeforeItOpensNothing)
{
    HeldScreen s;
    TabSelectorContainerView container(&s.root, 44);
    container.setGeometry(QRect(0, 0, 1000, 600));
    auto* pages = new MultiPageView(&container);
    container.setTabController(pages);
    pages->setTabSelector(container.tabSelector());
    container.setContentView(pages, true);
    auto* data = new PageView(pages, QStringLiteral("DATA"));
    auto* settings = new PageView(pages, QStringLiteral("SETTINGS"));
    pages->addPage(data, nullptr);
    pages->addPage(settings, nullptr);
    pages->selectPage(0);

    const QPoint settingsTab = container.tabSelector()->childViews()[1]->rootGeometry().center();
    s.hold(settingsTab);
    // Developer mode came on: the CAN page goes in as the second tab.
    pages->addPage(new PageView(pages, QStringLiteral("CAN")), settings);
    s.lift();
    EXPECT_EQ(pages->currentPage(), data) << "the finger was on SETTINGS; CAN slid under it";

    s.hold(container.tabSelector()->childViews()[2]->rootGeometry().center());
    s.lift();
    EXPECT_EQ(pages->currentPage(), settings);
}

TEST(HeldTouch, SlideSwitchHeldWhileItsValueChangesLandsWhereTheFingerLifts)
{
    HeldScreen s;
    IntDataValue mode("TEST_heldSwitchMode", 0);
    SlideSwitch slide(&s.root, {"OFF", "FACTORY", "TRANSPORT"}, &mode);
    slide.setWriteMode(DataValueBinding::WriteMode::Direct);
    slide.moveTo(100, 100);
    const auto at = [&](int position) {
        const int segment = slide.width() / 3;
        return slide.mapToRoot(QPoint(position * segment + segment / 2, slide.height() / 2));
    };
    s.hold(at(2));
    mode.setValue(1); // the car moved it meanwhile
    EXPECT_EQ(slide.position(), 1);
    s.lift();
    EXPECT_EQ(mode.value(), 2);
    EXPECT_EQ(slide.position(), 2);

    QSignalSpy changed(&slide, &SlideSwitch::positionChanged);
    s.hold(at(0));
    slide.enable(false, true);
    slide.enable(true, true);
    s.lift();
    EXPECT_EQ(changed.count(), 0) << "disabled while held: the touch no longer counts";
    EXPECT_EQ(mode.value(), 2);
}

TEST(HeldTouch, PopupButtonHeldWhileThePopupGoesAnswersNothing)
{
    HeldScreen s;
    ConfirmationPopup* popup = ConfirmationPopup::ask(QStringLiteral("Q"), QStringLiteral("Sure?"), QStringLiteral("NO"),
                                                      QStringLiteral("YES"), nullptr, nullptr);
    QSignalSpy answered(popup, &ConfirmationPopup::answered);
    DisplayView* yes = nullptr;
    for (ButtonView* button : popup->findChildren<ButtonView*>()) {
        if (button->label() == QLatin1String("YES"))
            yes = button;
    }
    ASSERT_TRUE(yes);
    s.hold(yes->rootGeometry().center());
    // The page that asked went away and took its question with it.
    popup->dismiss();
    s.lift();
    EXPECT_EQ(answered.count(), 0);
    drainEvents();
}

TEST(HeldTouch, ConfirmingButtonHeldWhileItDisarmsOnlyArmsAgain)
{
    HeldScreen s;
    ConfirmingButtonView button(&s.root, QStringLiteral("REBOOT"));
    button.moveTo(100, 100);
    button.setDisarmInterval(1);
    QSignalSpy confirmed(&button, &ConfirmingButtonView::released);
    s.tap(&button);
    ASSERT_TRUE(button.isArmed());
    s.hold(button.rootGeometry().center());
    ASSERT_TRUE(waitFor([&] { return !button.isArmed(); }));
    s.lift();
    EXPECT_EQ(confirmed.count(), 0) << "what the finger confirmed had gone back to asking";
    EXPECT_TRUE(button.isArmed());
}
