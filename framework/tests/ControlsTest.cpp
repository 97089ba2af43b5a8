#include "core/DataValueBinding.h"
#include "core/Logger.h"
#include "views/ViewDump.h"
#include "views/ButtonView.h"
#include "views/ConfirmingButtonView.h"
#include "views/SlideSwitch.h"
#include "Screen.h"

#include <QJsonArray>
#include <QSignalSpy>
#include <gtest/gtest.h>

namespace {

void accept(DataValue& value)
{
    DataValue::EventLocker lock(value);
    value.acceptPendingNoLock();
}

// The centre of a switch's position, in root coordinates.
QPoint at(const SlideSwitch& s, int position)
{
    const int segment = s.width() / s.positions().size();
    return s.mapToRoot(QPoint(position * segment + segment / 2, s.height() / 2));
}

} // namespace

TEST(DataValueBinding, ReadsAndFollowsTheBoundValue)
{
    IntDataValue mode("TEST_bindMode", 2);
    const QObject owner;
    DataValueBinding binding(&owner);
    QSignalSpy changes(&binding, &DataValueBinding::changed);

    binding.bind(&mode);
    EXPECT_EQ(changes.count(), 1); // the owner shows the value at once
    EXPECT_EQ(binding.name(), "TEST_bindMode");
    DataValueBinding::Reading r = binding.read();
    EXPECT_TRUE(r.valid);
    EXPECT_EQ(r.shown().toInt(), 2);

    mode.setValue(3);
    {
        DataValue::EventLocker lock(mode);
        mode.setValidNoLock(false);
    }
    EXPECT_EQ(changes.count(), 3);
    r = binding.read();
    EXPECT_FALSE(r.valid);
    EXPECT_EQ(r.value.toInt(), 3);

    binding.bind(nullptr);
    mode.setValue(4); // no longer followed
    EXPECT_EQ(changes.count(), 4);
    EXPECT_FALSE(binding.write(1, DataValueBinding::WriteMode::Direct));
}

TEST(DataValueBinding, RequestStaysPendingUntilAcceptedOrReverted)
{
    BoolDataValue parkAssist("TEST_parkAssistOnRequest", false);
    const QObject owner;
    DataValueBinding binding(&owner);
    binding.bind(&parkAssist);

    EXPECT_TRUE(binding.write(1, DataValueBinding::WriteMode::Request)); // an int for a bool
    DataValueBinding::Reading r = binding.read();
    EXPECT_TRUE(r.pending);
    EXPECT_FALSE(r.value.toBool());
    EXPECT_TRUE(r.shown().toBool());

    binding.write(true, DataValueBinding::WriteMode::Request);
    accept(parkAssist);
    r = binding.read();
    EXPECT_FALSE(r.pending);
    EXPECT_TRUE(r.value.toBool());

    // The car refuses: reverted, the control shows the value again.
    binding.write(false, DataValueBinding::WriteMode::Request);
    {
        DataValue::EventLocker lock(parkAssist);
        parkAssist.revertPendingNoLock();
    }
    EXPECT_TRUE(binding.read().shown().toBool());

    // A direct write sets the value at once.
    binding.write(false, DataValueBinding::WriteMode::Direct);
    EXPECT_FALSE(parkAssist.value());
    EXPECT_FALSE(parkAssist.hasPending());
}

TEST(DataValueBinding, UnknownNameOrVanishedValueLeavesTheControlFree)
{
    CapturingLogSink log;
    QObject owner;
    owner.setObjectName("speed");
    DataValueBinding binding(&owner);
    EXPECT_FALSE(binding.bind(QStringLiteral("GUI_noSuchValue")));
    ASSERT_EQ(log.records().size(), 1);
    EXPECT_EQ(log.records()[0].level, "ERROR");
    EXPECT_TRUE(log.records()[0].message.contains("unknown data value GUI_noSuchValue"));
    EXPECT_FALSE(binding.isBound());

    auto* value = new IntDataValue("TEST_shortLived", 5);
    EXPECT_TRUE(binding.bind(QStringLiteral("TEST_shortLived")));
    EXPECT_EQ(binding.read().value.toInt(), 5);
    delete value;
    EXPECT_FALSE(binding.read().valid);
    EXPECT_FALSE(binding.write(1, DataValueBinding::WriteMode::Request));
}

TEST(ButtonView, ToggleShowsAPendingRequestButWritesTheInverseOfTheValueDirectly)
{
    BoolDataValue rails("TEST_powerOffRailsRequest", false);
    Screen screen(QSize(1200, 800));
    ButtonView toggle(&screen.root, Style("SettingsToggleButton"), "TURN\nRAILS OFF", &rails);
    {
        DataValue::EventLocker lock(rails);
        rails.setPendingValidNoLock(true);
    }
    EXPECT_TRUE(toggle.isPending());
    EXPECT_TRUE(toggle.isToggled()); // shows where the request goes

    screen.tap(&toggle);
    EXPECT_TRUE(rails.value()); // the inverse of the value, not of the request
    accept(rails);
    EXPECT_FALSE(toggle.isPending());
    EXPECT_TRUE(toggle.isToggled());
    EXPECT_EQ(ViewDump::toJson(&toggle)["value"].toString(), "TEST_powerOffRailsRequest");
    rails.setValue(false); // the car turned it off
    EXPECT_FALSE(toggle.isToggled());

    ButtonView unbound(&screen.root, Style("ButtonType:roundtoggle; ButtonColor:red; Width:180"), "R");
    EXPECT_EQ(unbound.width(), unbound.height()); // round ignores the width
    screen.tap(&unbound);
    EXPECT_TRUE(unbound.isToggled());
}

TEST(SlideSwitch, TapRequestsTheBoundValueAndTheKnobFollowsTheValue)
{
    BoolDataValue logLocation("TEST_logLocationData", false);
    Screen screen(QSize(1200, 800));
    SlideSwitch slide(&screen.root, {"OFF", "ON"}, &logLocation);
    slide.moveTo(100, 100);
    QSignalSpy changed(&slide, &SlideSwitch::positionChanged);
    EXPECT_EQ(slide.geometry().size(), QSize(300, 60));

    screen.tap(at(slide, 1));
    EXPECT_EQ(slide.position(), 1);
    EXPECT_EQ(changed.count(), 1);
    EXPECT_EQ(changed.first().first().toInt(), 1);
    EXPECT_TRUE(logLocation.hasPending());
    EXPECT_FALSE(logLocation.value());
    EXPECT_TRUE(slide.isPending());

    accept(logLocation);
    EXPECT_FALSE(slide.isPending());
    EXPECT_EQ(slide.position(), 1);

    screen.tap(at(slide, 1)); // already there: nothing
    EXPECT_EQ(changed.count(), 1);
    EXPECT_FALSE(logLocation.hasPending());

    logLocation.setValue(false); // changed elsewhere
    EXPECT_EQ(slide.position(), 0);
    EXPECT_EQ(slide.knobOffset(), 0);
    EXPECT_EQ(changed.count(), 1); // only the user's selections are signalled

    slide.setWriteMode(DataValueBinding::WriteMode::Direct);
    screen.tap(at(slide, 1));
    EXPECT_TRUE(logLocation.value());
    EXPECT_FALSE(logLocation.hasPending());
}

TEST(SlideSwitch, IntValueSelectsItsPositionAndOutOfRangeValuesAreLoggedAndClamped)
{
    CapturingLogSink log;
    IntDataValue spoiler("TEST_spoilerRequest", 1);
    Screen screen(QSize(1200, 800));
    SlideSwitch slide(&screen.root, {"Vision", "Aero", "Retract", "Auto"}, &spoiler);
    EXPECT_EQ(slide.position(), 1);
    EXPECT_EQ(slide.width(), 600);

    screen.tap(at(slide, 3));
    EXPECT_EQ(spoiler.pendingValue(), 3);
    accept(spoiler);
    EXPECT_EQ(slide.position(), 3);

    spoiler.setValue(7);
    EXPECT_EQ(slide.position(), 3);
    EXPECT_TRUE(log.contains("WARN", "TEST_spoilerRequest is 7 but the switch has only Vision/Aero/Retract/Auto"));
    spoiler.setValue(-1);
    EXPECT_EQ(slide.position(), 0);

    // An invalid value tells nothing: the knob stays.
    {
        DataValue::EventLocker lock(spoiler);
        spoiler.setValidNoLock(false);
    }
    EXPECT_EQ(slide.position(), 0);

    const QJsonObject dump = ViewDump::toJson(&slide);
    EXPECT_EQ(dump["positions"].toArray().size(), 4);
    EXPECT_EQ(dump["position"].toInt(), 0);
    EXPECT_EQ(dump["value"].toString(), "TEST_spoilerRequest");
}

TEST(SlideSwitch, DragMovesTheKnobAndReleaseSnapsToTheNearestPosition)
{
    Screen screen(QSize(1200, 800));
    SlideSwitch slide(&screen.root, {"ON", "PREP", "OFF"});
    slide.moveTo(50, 200);
    QSignalSpy changed(&slide, &SlideSwitch::positionChanged);
    const QPoint start = at(slide, 0);

    screen.press(start);
    screen.move(start + QPoint(4, 0)); // a wobble is not a drag
    EXPECT_EQ(slide.knobOffset(), 0);
    screen.move(start + QPoint(100, 0));
    EXPECT_EQ(slide.knobOffset(), 100);
    screen.move(start + QPoint(1000, 0)); // held at the end of the track
    EXPECT_EQ(slide.knobOffset(), 300);
    screen.move(start + QPoint(220, 0));
    EXPECT_EQ(slide.position(), 0); // nothing selected while dragging
    screen.release(start + QPoint(220, 0));
    EXPECT_EQ(slide.position(), 1); // 220 is nearer 150 than 300
    EXPECT_EQ(slide.knobOffset(), 150);
    ASSERT_EQ(changed.count(), 1);
    EXPECT_EQ(changed.first().first().toInt(), 1);

    // Dragged back onto its own position: no signal.
    screen.press(at(slide, 1));
    screen.move(at(slide, 1) + QPoint(-60, 0));
    screen.release(at(slide, 1) + QPoint(-60, 0));
    EXPECT_EQ(slide.position(), 1);
    EXPECT_EQ(slide.knobOffset(), 150);
    EXPECT_EQ(changed.count(), 1);
}

namespace {

// Scrolls vertically, as a table does: it takes over fingers that move more up or down.
class VerticalScroller : public DisplayView {
public:
    using DisplayView::DisplayView;
    int presses = 0;
    bool takesOverTouch(const QPoint& movedBy) const override { return qAbs(movedBy.y()) > qAbs(movedBy.x()); }
    bool touchEvent(const TouchEvent& event) override
    {
        presses += event.kind == TouchEvent::Kind::Press;
        return true;
    }
};

} // namespace

TEST(SlideSwitch, CancelledTouchPutsTheKnobBackWithoutASignal)
{
    BoolDataValue neverSleep("TEST_neverSleep", false);
    Screen screen(QSize(1200, 800));
    VerticalScroller list(&screen.root);
    list.setGeometry(QRect(0, 0, 800, 600));
    SlideSwitch slide(&list, {"OFF", "ON"}, &neverSleep);
    slide.moveTo(100, 100);
    QSignalSpy changed(&slide, &SlideSwitch::positionChanged);
    const QPoint start = at(slide, 0);

    screen.press(start);
    screen.move(start + QPoint(8, 2));
    EXPECT_EQ(slide.knobOffset(), 8);
    screen.move(start + QPoint(10, 40)); // mostly down: the list scrolls instead
    EXPECT_EQ(list.presses, 1);
    EXPECT_EQ(slide.knobOffset(), 0);
    screen.release(start + QPoint(10, 40));
    EXPECT_EQ(changed.count(), 0);
    EXPECT_FALSE(neverSleep.hasPending());

    // Sideways the list leaves the finger to the switch.
    screen.press(start);
    screen.move(start + QPoint(130, 3));
    screen.release(start + QPoint(130, 3));
    EXPECT_EQ(list.presses, 1);
    EXPECT_EQ(slide.position(), 1);
    EXPECT_TRUE(neverSleep.hasPending());
}

namespace {

// Bars one position, as the factory slider does.
class BarringSwitch : public SlideSwitch {
public:
    BarringSwitch(DisplayView* parent, int barred)
        : SlideSwitch(parent, {"OFF", "FACTORY", "TRANSPORT"}, nullptr, "SettingsLargeSlideSwitch")
        , mBarred(barred)
    {
    }

protected:
    void released(int position) override
    {
        if (position == mBarred)
            returnKnob();
        else
            SlideSwitch::released(position);
    }

private:
    int mBarred;
};

} // namespace

TEST(SlideSwitch, SubclassCanRefuseARelease)
{
    Screen screen(QSize(1200, 800));
    BarringSwitch slide(&screen.root, 1);
    QSignalSpy changed(&slide, &SlideSwitch::positionChanged);
    EXPECT_EQ(slide.geometry().size(), QSize(630, 80)); // the large look

    screen.tap(at(slide, 1));
    EXPECT_EQ(slide.position(), 0);
    EXPECT_EQ(changed.count(), 0);

    screen.press(at(slide, 0));
    screen.move(at(slide, 1));
    EXPECT_EQ(slide.knobOffset(), 210);
    screen.release(at(slide, 1));
    EXPECT_EQ(slide.position(), 0);
    EXPECT_EQ(slide.knobOffset(), 0);
    EXPECT_EQ(changed.count(), 0);

    screen.tap(at(slide, 2));
    EXPECT_EQ(slide.position(), 2);
    EXPECT_EQ(changed.count(), 1);
}

TEST(SlideSwitch, MisusedSwitchIsLoggedAndKeepsItsState)
{
    CapturingLogSink log;
    RealDataValue speed("TEST_realSpeed", 80.0);
    Screen screen(QSize(1200, 800));
    SlideSwitch slide(&screen.root, {"ONLY"}, &speed);
    EXPECT_TRUE(log.contains("ERROR", "a slide switch cannot show real data value TEST_realSpeed - it works unbound"));
    EXPECT_EQ(slide.valueSource(), nullptr);
    EXPECT_TRUE(log.contains("WARN", "a slide switch needs two positions or more, not ONLY - it keeps OFF/ON"));
    EXPECT_EQ(slide.positions(), QStringList({"OFF", "ON"}));
    EXPECT_EQ(slide.width(), 300);

    slide.setPosition(5);
    EXPECT_EQ(slide.position(), 0);
    EXPECT_TRUE(log.contains("WARN", "no position 5 in OFF/ON"));
}

TEST(ConfirmingButton, SecondPressConfirmsAndDisarms)
{
    Screen screen(QSize(1200, 800));
    ConfirmingButtonView button(&screen.root, "REBOOT\nGATEWAY", ConfirmingButtonView::Medium);
    QSignalSpy confirmed(&button, SIGNAL(released()));
    QSignalSpy pressed(&button, SIGNAL(released(ControlBase*)));
    EXPECT_EQ(button.disarmInterval(), 3000);

    screen.tap(&button);
    EXPECT_TRUE(button.isArmed());
    EXPECT_EQ(confirmed.count(), 0);
    EXPECT_EQ(button.describe(), "REBOOT\nGATEWAY"); // scripts still find it by its label
    QJsonObject dump = ViewDump::toJson(&button);
    EXPECT_TRUE(dump["armed"].toBool());
    EXPECT_EQ(dump["confirmText"].toString(), "CONFIRM");
    EXPECT_EQ(dump["label"].toString(), "REBOOT\nGATEWAY");

    screen.tap(&button);
    EXPECT_EQ(confirmed.count(), 1);
    EXPECT_FALSE(button.isArmed());
    EXPECT_EQ(pressed.count(), 2);

    // Disabling takes the arming back.
    button.setConfirmText("TOGGLE");
    screen.tap(&button);
    button.disable();
    EXPECT_FALSE(button.isArmed());
    button.enable();
    screen.tap(&button);
    EXPECT_EQ(confirmed.count(), 1);
    EXPECT_EQ(ViewDump::toJson(&button)["confirmText"].toString(), "TOGGLE");
}
