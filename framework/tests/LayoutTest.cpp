#include "core/Logger.h"
#include "views/ButtonView.h"
#include "views/LabelView.h"
#include "views/LayoutView.h"
#include "views/SettingsPage.h"
#include "views/SlideSwitch.h"
#include "views/Style.h"
#include "TestSupport.h"

#include <QFontMetrics>
#include <QSignalSpy>
#include <gtest/gtest.h>

TEST(Style, BadInputIsLoggedOnceWithTheStyleTextAndTheDefaultApplies)
{
    CapturingLogSink log;
    const Style width("SettingsPushButton; Width:abc");
    EXPECT_EQ(width.intProperty("Width", 0), 250); // the base style's
    const Style widths("Settings2ColLayout; Widths:300,x");
    EXPECT_EQ(widths.intListProperty("Widths"), QList<int>({300, 900}));
    const Style margin("SettingsMainLayout; LayoutMargin:1,2");
    EXPECT_EQ(margin.paddingProperty("LayoutMargin").left, 30);
    const Style unknownKey("SettingsHorizontalLayout; Flurb:1; Spacing:-4");
    EXPECT_FALSE(unknownKey.has("Flurb"));
    EXPECT_EQ(unknownKey.intProperty("Spacing", 0), 20);
    const Style unknownName("NoSuchStyle; Width:10; ButtonType:huge");
    EXPECT_EQ(unknownName.intProperty("Width", 0), 10);
    EXPECT_EQ(unknownName.property("ButtonType", "medium"), "medium");
    const Style garbage(";;:;Bold:;TextColor:#zz;  ;");
    EXPECT_FALSE(garbage.has("Bold"));

    EXPECT_EQ(log.lines(),
              QStringList({
                  R"(WARN style "SettingsPushButton; Width:abc": Width "abc" is not a size - the default applies)",
                  R"(WARN style "Settings2ColLayout; Widths:300,x": Widths "300,x" is not a list of sizes - the default applies)",
                  R"(WARN style "SettingsMainLayout; LayoutMargin:1,2": LayoutMargin "1,2" is not four sizes (left, top, right, bottom) - the default applies)",
                  R"(WARN style "SettingsHorizontalLayout; Flurb:1; Spacing:-4": unknown property Flurb - the default applies)",
                  R"(WARN style "SettingsHorizontalLayout; Flurb:1; Spacing:-4": Spacing "-4" is not a size - the default applies)",
                  R"(WARN style "NoSuchStyle; Width:10; ButtonType:huge": unknown style NoSuchStyle - the default applies)",
                  R"(WARN style "NoSuchStyle; Width:10; ButtonType:huge": ButtonType "huge" is not one of small|medium|large|round|toggle|roundtoggle|tab - the default applies)",
                  R"(WARN style ";;:;Bold:;TextColor:#zz;  ;": unknown property  - the default applies)",
                  R"(WARN style ";;:;Bold:;TextColor:#zz;  ;": Bold "" is not true or false - the default applies)",
                  R"(WARN style ";;:;Bold:;TextColor:#zz;  ;": TextColor "#zz" is not a colour - the default applies)",
              }));

    // Every control of a style builds it again; the complaint is not repeated.
    log.clear();
    const Style again("SettingsPushButton; Width:abc");
    EXPECT_TRUE(log.lines().isEmpty());
}

TEST(Style, TypedPropertiesReadTheirForms)
{
    const Style s("SettingsHorizontalLayout; LayoutMargin:50,0,4,9; Widths:300,900,120; Bold:yes; ButtonColor:Warning");
    const Padding m = s.paddingProperty("LayoutMargin");
    EXPECT_EQ(QList<int>({m.left, m.top, m.right, m.bottom}), QList<int>({50, 0, 4, 9}));
    EXPECT_EQ(s.intListProperty("widths"), QList<int>({300, 900, 120}));
    EXPECT_TRUE(s.boolProperty("Bold", false));
    EXPECT_EQ(s.property("ButtonColor"), "warning");
    EXPECT_EQ(s.property("Direction"), "horizontal"); // from the base style
}

TEST(Layout, FlowWrapsChildrenIntoLinesNoWiderThanItsFlowWidth)
{
    DisplayView root;
    HorizontalLayout flow(&root, "SettingsHorizontalLayout; FlowWidth:500; LayoutMargin:5,7,0,0");
    ButtonView a(&flow, "SettingsToggleButton", "a"); // 180 x 60, spacing 20
    ButtonView b(&flow, "SettingsToggleButton", "b");
    ButtonView c(&flow, "SettingsToggleButton", "c");
    ButtonView wide(&flow, "SettingsPushButton; Width:600", "wide");
    drainEvents();
    EXPECT_EQ(a.geometry().topLeft(), QPoint(5, 7));
    EXPECT_EQ(b.geometry().topLeft(), QPoint(205, 7));
    EXPECT_EQ(c.geometry().topLeft(), QPoint(5, 87));   // 580 would pass 500
    EXPECT_EQ(wide.geometry().topLeft(), QPoint(5, 167)); // too wide for any line: one of its own
    EXPECT_EQ(flow.geometry().size(), QSize(605, 227));

    b.hide();
    drainEvents();
    EXPECT_EQ(c.geometry().topLeft(), QPoint(205, 7));
}

TEST(Layout, TwoColumnsHoldALabelAndItsControlPerRow)
{
    DisplayView root;
    VerticalLayout grid(&root, "Settings2ColLayout; Widths:300,900; LayoutMargin:50,0,0,0");
    LabelView label1(&grid, "SettingsRowLabel", "LOG LOCATION DATA");
    SlideSwitch switch1(&grid);                                          // 300 x 60
    LabelView label2(&grid, "SettingsSubLabel", "Speed Limit");
    ButtonView button2(&grid, "SettingsPushButton; ButtonType:large", "x"); // 250 x 70
    LabelView label3(&grid, "SettingsRowLabel", "HIDDEN");
    SlideSwitch switch3(&grid);
    LabelView label4(&grid, "SettingsRowLabel", "NO LABEL SHOWN");
    SlideSwitch switch4(&grid);
    label3.hide();
    switch3.hide();
    label4.hide();
    drainEvents();

    EXPECT_EQ(label1.x(), 50);
    EXPECT_EQ(label1.y(), (70 - label1.height()) / 2); // centred in a row of RowHeight
    EXPECT_EQ(switch1.geometry().topLeft(), QPoint(350, 5));
    EXPECT_EQ(label2.x(), 50);
    EXPECT_EQ(button2.geometry().topLeft(), QPoint(350, 80));
    // The hidden row is left out; a hidden label keeps its control in the right column.
    EXPECT_EQ(switch4.geometry().topLeft(), QPoint(350, 165));
    EXPECT_EQ(grid.geometry().size(), QSize(1250, 230));

    label3.show();
    switch3.show();
    drainEvents();
    EXPECT_EQ(switch3.geometry().topLeft(), QPoint(350, 165));
    EXPECT_EQ(switch4.geometry().topLeft(), QPoint(350, 245));

    VerticalLayout tall(&root, "Settings2ColLayoutTall");
    LabelView tallLabel(&tall, "SettingsRowLabel", "TAP ANIMATION:");
    SlideSwitch tallSwitch(&tall);
    drainEvents();
    EXPECT_EQ(tallSwitch.geometry().topLeft(), QPoint(300, 20));
    EXPECT_EQ(tall.height(), 100);
}

TEST(Layout, AChildDeletedBeforeTheDeferredLayoutIsLeftOut)
{
    DisplayView root;
    auto* column = new VerticalLayout(&root, "Spacing:10");
    auto* a = new ButtonView(column, "SettingsPushButton", "a"); // 60 high
    auto* b = new ButtonView(column, "SettingsPushButton", "b");
    auto* c = new ButtonView(column, "SettingsPushButton", "c");
    delete b; // before the layout ran and before the layout heard of its size
    drainEvents();
    EXPECT_EQ(c->y(), 70);
    EXPECT_EQ(column->height(), 130);

    delete a;
    c->resize(250, 100);
    drainEvents();
    EXPECT_EQ(c->y(), 0);
    EXPECT_EQ(column->geometry().size(), QSize(250, 100));

    // A layout deleted with its turn still to come is not laid out either.
    auto* doomed = new HorizontalLayout(&root, "SettingsHorizontalLayout");
    new ButtonView(doomed, "SettingsPushButton", "d");
    delete doomed;
    drainEvents();
    EXPECT_EQ(root.childViews().size(), 1);
}

TEST(SettingsPage, SwitchRowsGoIntoTheCurrentGridOrIntoARowOfTheirOwn)
{
    CapturingLogSink log;
    BoolDataValue logLocation("TEST_pageLogLocation", true);
    IntDataValue eggWot("TEST_pageEggWot", 2);
    SettingsPage page(nullptr, "SETTINGS");
    page.resize(1400, 900);

    LabelView* head = page.addMainLabel("VEHICLE SETTINGS", true);
    LayoutView* grid = page.addLayout("Settings2ColLayout; Widths:300,900");
    SlideSwitch* first = page.addSwitch("LOG LOCATION DATA", &logLocation);
    SlideSwitch* second = page.addSwitch("EggWot UI", &eggWot, {"ON", "PREP", "OFF"});
    page.nextLine();
    SlideSwitch* orphan = page.addSwitch("ORPHAN", nullptr);
    drainEvents();

    ASSERT_EQ(grid->childViews().size(), 4);
    EXPECT_EQ(static_cast<LabelView*>(grid->childViews()[0])->text(), "LOG LOCATION DATA");
    EXPECT_EQ(grid->childViews()[1], first);
    EXPECT_EQ(grid->childViews()[3], second);
    EXPECT_EQ(first->position(), 1);
    EXPECT_EQ(first->positions(), QStringList({"OFF", "ON"}));
    EXPECT_EQ(second->position(), 2);
    EXPECT_EQ(first->x(), 300);
    EXPECT_EQ(second->y(), 80 + (70 - second->height()) / 2);

    // The page stacks what it holds: the head, then the grid at its full height.
    EXPECT_EQ(head->y(), 30);
    EXPECT_EQ(grid->y(), head->geometry().bottom() + 1 + 18);
    EXPECT_EQ(grid->height(), 150);
    EXPECT_GT(head->font().pixelSize(), static_cast<LabelView*>(grid->childViews()[0])->font().pixelSize());
    EXPECT_GE(head->font().weight(), int(QFont::DemiBold));

    EXPECT_NE(orphan->parentView(), grid);
    EXPECT_EQ(orphan->parentView()->parentView(), page.mainLayout());
    EXPECT_EQ(orphan->valueSource(), nullptr);
    EXPECT_TRUE(log.contains("ERROR", "switch ORPHAN has no data value - it works unbound"));
}

TEST(Layout, ALabelWiderThanItsColumnWidensTheColumnForEveryRow)
{
    DisplayView root;
    VerticalLayout grid(&root, "Settings2ColLayout; Widths:100,900");
    LabelView shortLabel(&grid, "SettingsRowLabel", "LOG");
    SlideSwitch first(&grid);
    LabelView longLabel(&grid, "SettingsRowLabel", "RELOAD MAP IF CONNECTED");
    SlideSwitch second(&grid);
    drainEvents();
    ASSERT_GT(longLabel.width(), 100);
    EXPECT_GT(second.x(), longLabel.geometry().right()); // nothing runs under the switch
    EXPECT_EQ(first.x(), second.x());                   // the columns stay aligned
}

TEST(Layout, AHiddenLayoutPlacesItsChildrenOnlyOnceShownOrRead)
{
    DisplayView root;
    DisplayView page(&root);
    page.hide();
    auto* column = new VerticalLayout(&page, "Spacing:10");
    auto* a = new ButtonView(column, "SettingsPushButton", "a"); // 60 high
    auto* b = new ButtonView(column, "SettingsPushButton", "b");
    QSignalSpy bMoved(b, &DisplayView::moved);
    drainEvents();
    EXPECT_EQ(bMoved.count(), 0); // nobody sees it: nothing placed yet

    // Reading a child's place lays its layout out first.
    EXPECT_EQ(b->y(), 70);
    EXPECT_EQ(bMoved.count(), 1);
    EXPECT_EQ(column->height(), 130);

    // Showing lays out at once, before anything can be painted or touched.
    auto* c = new ButtonView(column, "SettingsPushButton", "c");
    drainEvents();
    QSignalSpy cMoved(c, &DisplayView::moved);
    page.show();
    EXPECT_EQ(cMoved.count(), 1);
    EXPECT_EQ(c->y(), 140);
    EXPECT_EQ(a->y(), 0);

    // Hidden through an ancestor counts too; showing the ancestor settles everything below.
    page.hide();
    auto* d = new ButtonView(column, "SettingsPushButton", "d");
    drainEvents();
    QSignalSpy dMoved(d, &DisplayView::moved);
    root.hide();
    page.show();
    EXPECT_EQ(dMoved.count(), 0);
    root.show();
    EXPECT_EQ(dMoved.count(), 1);
    EXPECT_EQ(d->rootGeometry().y(), 210);
}

TEST(Layout, LabelsOfAHiddenPageAreMeasuredWhenThePageIsShown)
{
    DisplayView root;
    SettingsPage page(&root, "FONTS");
    page.hide();
    LabelView* head = page.addMainLabel("Normal");
    LabelView* sample = page.addMainLabel("DejaVu Serif - 0123456789", true);
    sample->setFont(QFont("DejaVu Serif"));
    sample->setFontSize(20);
    sample->setFixedWidth(850);
    QSignalSpy headSized(head, qOverload<DisplayView*>(&DisplayView::resized));
    QSignalSpy sampleSized(sample, qOverload<DisplayView*>(&DisplayView::resized));
    drainEvents();
    EXPECT_EQ(headSized.count() + sampleSized.count(), 0);

    page.show();
    EXPECT_EQ(headSized.count(), 1);
    EXPECT_EQ(sampleSized.count(), 1);
    EXPECT_EQ(head->width(), QFontMetrics(head->font()).horizontalAdvance("Normal") + 4);
    EXPECT_EQ(sample->width(), 850);
    EXPECT_GT(sample->y(), head->y() + head->height() - 1);
}
