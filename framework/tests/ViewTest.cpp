#include "core/DataValue.h"
#include "views/ViewDump.h"
#include "views/ButtonView.h"
#include "views/LabelView.h"
#include "views/LayoutView.h"
#include "views/Style.h"
#include "Screen.h"

#include <QFontMetrics>
#include <QJsonArray>
#include <QKeyEvent>
#include <QPainter>
#include <QSignalSpy>
#include <gtest/gtest.h>

TEST(View, MoveAndResizeAreImmediateOnlyForLinearWithoutTime)
{
    DisplayView root;
    DisplayView child(&root);
    QSignalSpy moved(&child, &DisplayView::moved);
    QSignalSpy resized(&child, qOverload<DisplayView*>(&DisplayView::resized));

    child.moveTo(32, 52, DisplayView::Linear, 0, 0);
    child.resize(300, 200);
    EXPECT_EQ(child.geometry(), QRect(32, 52, 300, 200));
    EXPECT_EQ(moved.count(), 1);
    EXPECT_EQ(resized.count(), 1);

    child.moveTo(100, 0, DisplayView::EaseOut, 40, 0);
    EXPECT_EQ(child.x(), 32); // animating: not there yet
    EXPECT_TRUE(waitFor([&] { return child.x() == 100; }));
    child.moveTo(0, 0, DisplayView::Linear, 0, 30); // a delay alone also defers
    EXPECT_EQ(child.x(), 100);
    EXPECT_TRUE(waitFor([&] { return child.x() == 0; }));

    // A resize while a move animates keeps the move's destination.
    child.moveTo(50, 50, DisplayView::EaseInOut, 40, 0);
    child.resize(10, 10);
    EXPECT_TRUE(waitFor([&] { return child.geometry() == QRect(50, 50, 10, 10); }));
}

TEST(View, AutoResizeFollowsParentInsideItsMargin)
{
    DisplayView parent;
    parent.resize(400, 300);
    parent.setLayoutMargin(Padding{0, 0, 20, 0});
    DisplayView child(&parent);
    child.setAutoResizeToParent(true);
    EXPECT_EQ(child.geometry(), QRect(0, 0, 380, 300));
    parent.resize(500, 100);
    EXPECT_EQ(child.geometry(), QRect(0, 0, 480, 100));
}

TEST(View, VisibilityAndEnabledStateFollowAncestors)
{
    DisplayView root;
    root.resize(100, 100);
    DisplayView middle(&root);
    middle.resize(100, 100);
    ButtonView button(&middle, Style("SettingsPushButton"), "OK");
    QSignalSpy disabledSpy(&button, &DisplayView::disabled);
    QSignalSpy enabledSpy(&button, &DisplayView::enabled);

    middle.show(false);
    EXPECT_TRUE(button.isVisible());
    EXPECT_FALSE(button.isShown());
    EXPECT_EQ(root.viewAt(QPoint(10, 10)), &root); // hidden views take no touches
    middle.show(true);
    EXPECT_EQ(root.viewAt(QPoint(10, 10)), &button);

    button.disable(true);
    button.disable(true);
    EXPECT_EQ(disabledSpy.count(), 1);
    EXPECT_EQ(root.viewAt(QPoint(10, 10)), &middle);
    middle.disable();
    button.enable();
    EXPECT_EQ(enabledSpy.count(), 1);
    EXPECT_FALSE(button.isEffectivelyEnabled());
    // enable(condition) sets what it is given, both ways.
    button.enable(false, true);
    EXPECT_FALSE(button.isEnabled());
    EXPECT_EQ(disabledSpy.count(), 2);
    button.enable(1 > 0, true);
    EXPECT_TRUE(button.isEnabled());
}

TEST(View, TouchesReachTheViewUnderThemAndSlidingOffCancels)
{
    Screen screen(QSize(800, 600));
    DisplayView panel(&screen.root);
    panel.setGeometry(QRect(100, 100, 400, 300));
    ButtonView button(&panel, Style("SettingsPushButton"), "GO");
    button.moveTo(50, 50);
    QSignalSpy released(&button, &ControlBase::released);
    QSignalSpy tapped(&button, &ControlBase::tapped);

    screen.tap(QPoint(160, 170)); // inside the button in root coordinates
    EXPECT_EQ(tapped.count(), 1);
    EXPECT_EQ(released.count(), 1);
    EXPECT_EQ(released.first().first().value<ControlBase*>(), &button);

    screen.tap(QPoint(20, 20)); // outside: nothing
    screen.press(QPoint(160, 170));
    screen.move(QPoint(700, 500));
    screen.release(QPoint(700, 500));
    EXPECT_EQ(released.count(), 1);
}

TEST(View, HorizontalLayoutLinesUpShownChildren)
{
    DisplayView root;
    LayoutView row(&root, Style("SettingsHorizontalLayout; Spacing:10"));
    ButtonView a(&row, Style("ButtonType:small; Width:100"), "a");
    ButtonView b(&row, Style("ButtonType:large; Width:120"), "b");
    ButtonView c(&row, Style("ButtonType:small; Width:100"), "c");
    drainEvents();
    EXPECT_EQ(b.x(), 110);
    EXPECT_EQ(c.x(), 240);
    EXPECT_EQ(row.width(), 340);
    EXPECT_EQ(row.height(), 70);
    b.hide();
    drainEvents();
    EXPECT_EQ(c.x(), 110);
}

TEST(View, DumpDescribesTheTree)
{
    DisplayView root;
    root.resize(200, 100);
    LabelView label(&root, "Hello");
    label.moveTo(10, 20);
    ButtonView button(&root, Style("SettingsToggleButton"), "T");
    button.hide();
    const QJsonObject json = ViewDump::toJson(&root);
    EXPECT_EQ(json["class"].toString(), "DisplayView");
    const QJsonArray children = json["children"].toArray();
    ASSERT_EQ(children.size(), 2);
    EXPECT_EQ(children[0]["class"].toString(), "LabelView");
    EXPECT_EQ(children[0]["label"].toString(), "Hello");
    EXPECT_EQ(children[0]["geometry"]["x"].toInt(), 10);
    EXPECT_EQ(children[0]["geometry"]["y"].toInt(), 20);
    EXPECT_EQ(children[1]["visible"].toBool(), false);
    EXPECT_EQ(children[1]["toggled"].toBool(), false);
}

namespace {

class ModeWatcher : public DisplayView {
    Q_OBJECT
public:
    int calls = 0;
public slots:
    void modeChanged() { ++calls; }
};

} // namespace

namespace {

class KeyCatcher : public DisplayView {
public:
    using DisplayView::DisplayView;
    QString typed;
    bool keyEvent(QKeyEvent* event) override
    {
        if (event->type() != QEvent::KeyPress || event->text() == "x")
            return false;
        typed += event->text();
        return true;
    }
};

} // namespace

TEST(View, KeysGoToTheFocusedViewAndBubbleUp)
{
    Screen screen(QSize(100, 100));
    KeyCatcher form(&screen.root);
    KeyCatcher field(&form);
    DisplayView plain(&field);
    QKeyEvent a(QEvent::KeyPress, Qt::Key_A, Qt::NoModifier, "a");
    QKeyEvent x(QEvent::KeyPress, Qt::Key_X, Qt::NoModifier, "x");

    screen.display.key(&a); // no focus: nobody
    plain.setKeyFocus();
    EXPECT_TRUE(plain.hasKeyFocus());
    screen.display.key(&a); // plain ignores keys: the field takes it
    screen.display.key(&x); // the field passes x on; the form passes it on too
    EXPECT_EQ(field.typed, "a");
    EXPECT_EQ(form.typed, "");
    field.hide();
    screen.display.key(&a); // a hidden view and its children take no keys
    EXPECT_EQ(field.typed, "a");
    EXPECT_EQ(form.typed, "a");
}

TEST(View, DvConnectCallsNowOnlyWhenAsked)
{
    BoolDataValue mode("TEST_mode", false);
    ModeWatcher lazy;
    lazy.dvConnect(&mode, SLOT(modeChanged()), false);
    EXPECT_EQ(lazy.calls, 0);
    ModeWatcher eager;
    eager.dvConnect(&mode, SLOT(modeChanged()), true);
    EXPECT_EQ(eager.calls, 1);
    mode.setValue(true);
    EXPECT_EQ(lazy.calls, 1);
    EXPECT_EQ(eager.calls, 2);
}

#include "ViewTest.moc"

TEST(View, ALabelMeasuresItsTextOnlyWhenItsSizeIsNeeded)
{
    DisplayView root;
    LabelView label(&root, Style("SettingsMainLabel"), "VEHICLE");
    const QFont at24 = label.font();
    QSignalSpy resized(&label, qOverload<DisplayView*>(&DisplayView::resized));
    label.setText("VEHICLE SETTINGS");
    label.setFont(QFont("DejaVu Serif"));
    label.setFontSize(20);
    drainEvents();
    EXPECT_EQ(resized.count(), 0);

    // Read, it has the size each step on the way would have given it: the last text's width,
    // and the height of the tallest font it followed.
    QFont serif24("DejaVu Serif");
    serif24.setPixelSize(24);
    const int tallest = qMax(QFontMetrics(at24).height(), qMax(QFontMetrics(serif24).height(), QFontMetrics(label.font()).height()));
    EXPECT_EQ(label.geometry().size(),
              QSize(QFontMetrics(label.font()).horizontalAdvance("VEHICLE SETTINGS") + 4, tallest + 8));
    EXPECT_EQ(resized.count(), 1);

    // A width given by hand stays; the height still grows with the font.
    label.setFixedWidth(850);
    label.setText("A");
    label.setFontSize(60);
    EXPECT_EQ(label.geometry().size(), QSize(850, QFontMetrics(label.font()).height() + 8));

    // So does a size given by hand while a measurement was owed.
    LabelView byHand(&root, "SHORT");
    byHand.setText("A MUCH LONGER TEXT");
    byHand.resize(100, 30);
    byHand.setText("LONGER STILL, AND NOT MEASURED");
    EXPECT_EQ(byHand.geometry().size(), QSize(100, 30));
}

namespace {

int pixelsOf(const QImage& image, QRgb colour)
{
    int count = 0;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            count += image.pixel(x, y) == colour;
    return count;
}

QImage drawn(LabelView& label)
{
    QImage image(label.geometry().size(), QImage::Format_RGB32);
    image.fill(Qt::black);
    QPainter painter(&image);
    label.draw(painter);
    return image;
}

} // namespace

TEST(View, ALabelDrawsInItsStylesColoursAndOnlyAStyledOneHasAShadow)
{
    DisplayView root;
    LabelView styled(&root, Style("FontSize:60; Bold:yes; TextColor:#ff0000; ShadowColor:#00ff00"), "MW");
    EXPECT_EQ(styled.font().pixelSize(), 60);
    EXPECT_GE(styled.font().weight(), int(QFont::DemiBold));
    const QImage styledImage = drawn(styled);
    EXPECT_GT(pixelsOf(styledImage, qRgb(0xff, 0, 0)), 0);
    EXPECT_GT(pixelsOf(styledImage, qRgb(0, 0xff, 0)), 0);

    LabelView plain(&root, "MW");
    EXPECT_EQ(plain.font().pixelSize(), 24);
    EXPECT_LT(plain.font().weight(), int(QFont::DemiBold));
    EXPECT_EQ(plain.alignment(), int(Qt::AlignLeft | Qt::AlignVCenter));
    const QImage plainImage = drawn(plain);
    EXPECT_GT(pixelsOf(plainImage, qRgb(0xff, 0xff, 0xff)), 0);
    EXPECT_EQ(pixelsOf(plainImage, qRgb(0, 0xff, 0)), 0);
}

// No web page has been made in this program: the library set the variable as it loaded, while
// the process had one thread, not the engine later while other threads may read the environment.
TEST(View, WebPagesPollTheNetworkOnlyDailyFromTheStart)
{
    EXPECT_EQ(qgetenv("QT_BEARER_POLL_TIMEOUT"), QByteArray("86400000"));
}
