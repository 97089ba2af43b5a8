#include "views/ViewDump.h"
#include "views/CenterDisplay.h"
#include "views/ButtonView.h"
#include "views/DropDownPicker.h"
#include "views/DropDownPickerStringTableModel.h"
#include "views/popup/OverlayView.h"
#include "views/popup/PopupView.h"
#include "views/table/TableCell.h"
#include "views/table/TableView.h"
#include "Screen.h"

#include <QJsonArray>
#include <QSignalSpy>
#include <gtest/gtest.h>

namespace {

const QStringList Greek{"Alpha", "Beta", "Gamma", "Delta"};

QStringList numbered(int count)
{
    QStringList out;
    for (int i = 0; i < count; ++i)
        out << QString::number(i);
    return out;
}

// The topmost shown view that calls itself `text`, as a script finds what to tap.
DisplayView* findShown(DisplayView* view, const QString& text)
{
    if (!view->isVisible())
        return nullptr;
    DisplayView* found = view->describe() == text ? view : nullptr;
    for (DisplayView* child : view->childViews()) {
        if (DisplayView* hit = findShown(child, text))
            found = hit;
    }
    return found;
}

DisplayView* listRow(const QString& text)
{
    return findShown(theCenterDisplay->overlay(), text);
}

// Greys out the first two choices, as a speed picker greys out low limits.
class FirstTwoDisabled : public DropDownPickerStringTableModel {
public:
    using DropDownPickerStringTableModel::DropDownPickerStringTableModel;
    bool isEnabled(const TableModelIndex& index) override { return index.row() >= 2; }
};

class Page : public QObject {
    Q_OBJECT
public:
    QList<int> rows;
public slots:
    void chosen(TableModelIndex index) { rows << index.row(); }
};

} // namespace

TEST(DropDownPicker, TappingOpensTheListUnderTheFaceAndARowChoosesAndCloses)
{
    Screen s(QSize(1000, 1200));
    DropDownPicker picker(&s.root, Greek, 0, 300, DropDownPicker::SettingsPickerStyle);
    picker.moveTo(100, 200);
    Page page;
    ASSERT_TRUE(QObject::connect(&picker, SIGNAL(itemSelected(TableModelIndex)), &page, SLOT(chosen(TableModelIndex))));
    QSignalSpy selected(&picker, &DropDownPicker::itemSelected);
    EXPECT_EQ(picker.geometry().size(), QSize(300, 60));
    EXPECT_EQ(picker.describe(), "Alpha");

    s.tap(&picker);
    ASSERT_TRUE(picker.isOpen());
    EXPECT_EQ(theCenterDisplay->topmostPopup(), picker.listView()->parentView());
    EXPECT_EQ(picker.listView()->rootGeometry(), QRect(100, 260, 300, 4 * 60));
    EXPECT_TRUE(picker.listView()->cellForIndex(TableModelIndex(nullptr, 1, 0))->isSelected());

    DisplayView* gamma = listRow("Gamma");
    ASSERT_NE(gamma, nullptr);
    s.tap(gamma);
    EXPECT_FALSE(picker.isOpen());
    ASSERT_EQ(selected.count(), 1);
    EXPECT_EQ(selected.first().first().value<TableModelIndex>(), TableModelIndex(nullptr, 1, 2));
    EXPECT_EQ(page.rows, QList<int>{2});
    EXPECT_EQ(picker.choiceIndex(), 2);
    EXPECT_EQ(picker.describe(), "Gamma");
    EXPECT_EQ(listRow("Beta"), nullptr);
    EXPECT_EQ(theCenterDisplay->topmostPopup(), nullptr);
}

TEST(DropDownPicker, ATouchElsewhereClosesTheListWithoutChoosing)
{
    Screen s(QSize(1000, 1200));
    ButtonView other(&s.root, Style("SettingsPushButton"), "OTHER");
    other.moveTo(600, 600);
    QSignalSpy otherReleased(&other, &ControlBase::released);
    DropDownPicker picker(&s.root, Greek, 1, 300, DropDownPicker::SettingsPickerStyle);
    QSignalSpy selected(&picker, &DropDownPicker::itemSelected);

    s.tap(&picker);
    ASSERT_TRUE(picker.isOpen());
    s.tap(&other); // the touch closes the list and goes no further
    EXPECT_FALSE(picker.isOpen());
    EXPECT_EQ(otherReleased.count(), 0);
    s.tap(&picker);
    EXPECT_TRUE(picker.isOpen());
    s.tap(&picker); // the face is outside the list too
    EXPECT_FALSE(picker.isOpen());
    EXPECT_EQ(selected.count(), 0);
    EXPECT_EQ(picker.choiceIndex(), 1);

    // Disabling closes the list, and a disabled picker stays shut.
    s.tap(&picker);
    picker.enable(false, true);
    EXPECT_FALSE(picker.isOpen());
    picker.openList();
    EXPECT_FALSE(picker.isOpen());
}

TEST(DropDownPicker, DisabledChoicesAreGreyedAndRefuseTheTap)
{
    Screen s(QSize(1000, 1200));
    FirstTwoDisabled model(Greek);
    DropDownPicker picker(&s.root, Greek, 3, 300, DropDownPicker::SettingsPickerStyle, &model);
    QSignalSpy selected(&picker, &DropDownPicker::itemSelected);
    s.tap(&picker);

    DisplayView* alpha = listRow("Alpha");
    ASSERT_NE(alpha, nullptr);
    EXPECT_FALSE(alpha->isEnabled());
    s.tap(alpha);
    EXPECT_TRUE(picker.isOpen());
    EXPECT_EQ(selected.count(), 0);
    EXPECT_EQ(picker.choiceIndex(), 3);

    const QJsonArray rows = ViewDump::toJson(&picker)["visibleRows"].toArray();
    ASSERT_EQ(rows.size(), 4);
    EXPECT_EQ(rows[0]["label"].toString(), "Alpha");
    EXPECT_FALSE(rows[1]["enabled"].toBool());
    EXPECT_TRUE(rows[2]["enabled"].toBool());
    EXPECT_TRUE(rows[3]["selected"].toBool());

    s.tap(listRow("Gamma"));
    EXPECT_EQ(selected.count(), 1);
    EXPECT_EQ(picker.choiceIndex(), 2);
}

TEST(DropDownPicker, AnIndexOutsideTheChoicesChoosesNothing)
{
    Screen s(QSize(1000, 1200));
    DropDownPicker picker(&s.root, Greek, 2, 300, DropDownPicker::SettingsPickerStyle);
    picker.setChoiceIndex(-1);
    EXPECT_EQ(picker.describe(), "");
    s.tap(&picker);
    ASSERT_TRUE(picker.isOpen());
    for (const TableCell* cell : picker.listView()->visibleCells())
        EXPECT_FALSE(cell->isSelected());
    picker.closeList();

    // A mode value past the names is kept as it is, but shows nothing.
    picker.setChoiceIndex(4);
    const QJsonObject dump = ViewDump::toJson(&picker);
    EXPECT_EQ(dump["label"].toString(), "");
    EXPECT_EQ(dump["choiceIndex"].toInt(), 4);
    EXPECT_FALSE(dump["open"].toBool());
    EXPECT_EQ(dump["choices"].toArray().size(), 4);
}

TEST(DropDownPicker, AScrollableListShowsAtMostItsMaximumRowsAndAHalfRowHintsAtMore)
{
    Screen s(QSize(1000, 1200));
    DropDownPicker many(&s.root, numbered(20), 0, 300, DropDownPicker::SettingsPickerStyle);
    many.setScrollable(true);
    many.setMaxItemsToDisplay(10.5);
    s.tap(&many);
    EXPECT_EQ(many.listView()->height(), 630);
    EXPECT_EQ(many.listView()->visibleCells().size(), 11);
    EXPECT_EQ(many.listView()->visibleCells().last()->rootGeometry().bottom(),
              many.listView()->rootGeometry().bottom() + 30); // half of it out of sight
    many.closeList();

    DropDownPicker few(&s.root, Greek, 0, 300, DropDownPicker::SettingsPickerStyle);
    few.moveTo(400, 0);
    few.setScrollable(true);
    few.setMaxItemsToDisplay(10.5);
    s.tap(&few);
    EXPECT_EQ(few.listView()->height(), 4 * 60);
    few.closeList();

    // Not scrollable: every row, as far as the display goes.
    many.setScrollable(false);
    s.tap(&many);
    EXPECT_EQ(many.listView()->rootGeometry(), QRect(0, 60, 300, 1200 - 60));
}

TEST(DropDownPicker, TheListOpensAboveWhenThereIsMoreRoomThereWithTheChoiceInSight)
{
    Screen s(QSize(1000, 1200));
    DropDownPicker picker(&s.root, numbered(20), 0, 300, DropDownPicker::SettingsPickerStyle);
    picker.setScrollable(true);
    picker.setMaxItemsToDisplay(10.5);
    picker.moveTo(40, 1000);
    picker.setChoiceIndex(15); // the current choice comes into sight
    s.tap(&picker);
    EXPECT_EQ(picker.listView()->rootGeometry(), QRect(40, 1000 - 630, 300, 630));
    EXPECT_EQ(picker.listView()->scrollOffset(), 20 * 60 - 630);
    EXPECT_TRUE(picker.listView()->cellForIndex(TableModelIndex(nullptr, 1, 15))->isSelected());
}

TEST(DropDownPicker, AGivenButtonIsTheFace)
{
    Screen s(QSize(1000, 1200));
    ButtonView button(&s.root, Style("SettingsPushButton"), "");
    button.moveTo(500, 100);
    DropDownPicker picker(&s.root, Greek, 1, 300, DropDownPicker::SettingsPickerStyle, nullptr, &button);
    EXPECT_EQ(button.label(), "Beta");
    EXPECT_EQ(picker.geometry().size(), QSize(0, 0));
    s.tap(&button);
    ASSERT_TRUE(picker.isOpen());
    EXPECT_EQ(picker.listView()->rootGeometry(), QRect(500, 160, button.width(), 240));
    s.tap(listRow("Delta"));
    EXPECT_EQ(button.label(), "Delta");
    EXPECT_EQ(picker.choiceIndex(), 3);

    // What a script finds by the choice's text is the face, never the picker of no size.
    EXPECT_EQ(findShown(&s.root, "Delta"), &button);
    picker.disable();
    EXPECT_FALSE(button.isEnabled());
    s.tap(&button);
    EXPECT_FALSE(picker.isOpen());
    picker.enable();
    EXPECT_TRUE(button.isEnabled());
}

#include "DropDownPickerTest.moc"
