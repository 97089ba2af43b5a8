// The factory mode slider and the limit drop-downs on their data values, driven by touches.
#include "diag/factory/FactoryModeSlider.h"
#include "diag/factory/LimitDropDown.h"
#include "FactoryFixture.h"

#include <QSignalSpy>

namespace {

// Reads what the slider draws each label with.
class ProbedSlider : public FactoryModeSlider {
public:
    using FactoryModeSlider::FactoryModeSlider;
    using FactoryModeSlider::labelOpacity;
};

class FactoryControlsTest : public FactoryFixture {
protected:
    ProbedSlider* newSlider()
    {
        auto* slider = adopt(new ProbedSlider(&window, {"OFF", "FACTORY", "TRANSPORT"}));
        slider->moveTo(100, 100);
        slider->updatePosition();
        return slider;
    }

    // A drop-down and the button face it is shown and opened by.
    struct Limit {
        LimitDropDown* picker;
        ButtonView* face;
    };
    Limit newLimit(IntDataValue& value, int minimum, int maximum, int step, int none)
    {
        auto* row = adopt(new DisplayView(&window));
        row->setGeometry(QRect(100, 100, 600, 80));
        auto* picker = new LimitDropDown(row, value, minimum, maximum, step, none);
        return {picker, row->findChild<ButtonView*>()};
    }
};

} // namespace

TEST_F(FactoryControlsTest, LimitShowsTheNearestChoiceOfTheClampedValue)
{
    const Limit power = newLimit(GUI_powerLimitRequest, 20, 200, 20, 31);
    ASSERT_TRUE(power.face);
    EXPECT_EQ(power.picker->choices(),
              QStringList({"NONE", "20", "40", "60", "80", "100", "120", "140", "160", "180", "200"}));
    EXPECT_EQ(power.face->style().intProperty("Width", 0), 250);
    for (const auto& [value, shown] : std::vector<std::pair<int, QString>>{{31, "NONE"}, {35, "40"}, {250, "200"}, {5, "20"}}) {
        GUI_powerLimitRequest.setValue(value);
        EXPECT_EQ(power.face->label(), shown) << value;
    }

    const Limit torque = newLimit(GUI_torqueLimitRequest, 4000, 6500, 500, 63);
    EXPECT_EQ(torque.picker->choices(), QStringList({"NONE", "4000", "4500", "5000", "5500", "6000", "6500"}));
    for (const auto& [value, shown] :
         std::vector<std::pair<int, QString>>{{63, "NONE"}, {4200, "4000"}, {4300, "4500"}, {4250, "4500"}, {9000, "6500"}}) {
        GUI_torqueLimitRequest.setValue(value);
        EXPECT_EQ(torque.face->label(), shown) << value;
    }

    // Only a value the car vouches for means no limit; an unknown one is shown as a number.
    GUI_torqueLimitRequest.setValue(63);
    {
        DataValue::EventLocker lock(GUI_torqueLimitRequest);
        GUI_torqueLimitRequest.setValidNoLock(false);
    }
    EXPECT_EQ(torque.face->label(), "4000");

    // A range that does not start on a multiple of the step: values round to multiples the
    // choices never hold, so nothing is shown chosen.
    IntDataValue odd("TEST_oddLimit", 0);
    const Limit offGrid = newLimit(odd, 30, 90, 20, 0);
    EXPECT_EQ(offGrid.picker->choices(), QStringList({"NONE", "30", "50", "70", "90"}));
    EXPECT_EQ(offGrid.face->label(), "NONE");
    odd.setValue(50);
    EXPECT_EQ(offGrid.picker->choiceIndex(), -1);
    EXPECT_EQ(offGrid.face->label(), "");
}

TEST_F(FactoryControlsTest, ChoosingALimitAsksTheCarAndAskingForTheCurrentOneWithdraws)
{
    const Limit power = newLimit(GUI_powerLimitRequest, 20, 200, 20, 31);
    ASSERT_TRUE(choose(power.face, power.picker, "100"));
    EXPECT_EQ(pendingText(GUI_powerLimitRequest), "100");
    EXPECT_EQ(GUI_powerLimitRequest.value(), 31);
    EXPECT_EQ(power.face->label(), "100"); // the request waiting for the car, not the old value

    ASSERT_TRUE(choose(power.face, power.picker, "NONE"));
    EXPECT_EQ(pendingText(GUI_powerLimitRequest), "none"); // 31 is what the car has
    EXPECT_EQ(power.face->label(), "NONE");

    ASSERT_TRUE(choose(power.face, power.picker, "60"));
    carAccepts();
    EXPECT_EQ(GUI_powerLimitRequest.value(), 60);
    ASSERT_TRUE(choose(power.face, power.picker, "NONE"));
    EXPECT_EQ(pendingText(GUI_powerLimitRequest), "31");

    // A disabled drop-down cannot be opened through its face.
    power.picker->disable();
    tap(power.face);
    EXPECT_FALSE(power.picker->isOpen());
}

TEST_F(FactoryControlsTest, TransportModeBarsFactoryAndTheSliderStandsAtTransport)
{
    GUI_transportMode.setValue(true);
    ProbedSlider* slider = newSlider();
    QSignalSpy moved(slider, &SlideSwitch::positionChanged);
    EXPECT_EQ(slider->position(), FactoryModeSlider::TransportPosition);
    EXPECT_FALSE(slider->isPositionAllowed(FactoryModeSlider::FactoryPosition));
    EXPECT_LT(slider->labelOpacity(FactoryModeSlider::FactoryPosition), 1.0);
    EXPECT_EQ(slider->labelOpacity(FactoryModeSlider::OffPosition), 1.0);
    EXPECT_EQ(slider->labelOpacity(FactoryModeSlider::TransportPosition), 1.0);

    tapPosition(slider, FactoryModeSlider::FactoryPosition);
    EXPECT_EQ(slider->position(), FactoryModeSlider::TransportPosition);
    // Dragged there and let go: the knob goes back.
    const QPoint knob = slider->rootGeometry().topLeft() + QPoint(slider->width() * 5 / 6, slider->height() / 2);
    display.touch(int(TouchEvent::Kind::Press), knob);
    for (int step = 1; step <= 10; ++step)
        display.touch(int(TouchEvent::Kind::Move), knob - QPoint(slider->width() / 30 * step, 0));
    display.touch(int(TouchEvent::Kind::Release), knob - QPoint(slider->width() / 3, 0));
    drainEvents();
    EXPECT_EQ(slider->position(), FactoryModeSlider::TransportPosition);
    EXPECT_EQ(slider->knobOffset(), slider->width() * 2 / 3);
    EXPECT_EQ(moved.count(), 0);

    // Off is still allowed.
    tapPosition(slider, FactoryModeSlider::OffPosition);
    EXPECT_EQ(moved.count(), 1);
    EXPECT_EQ(slider->position(), FactoryModeSlider::OffPosition);
}

TEST_F(FactoryControlsTest, ADeliveredCarEntersFactoryModeOnlyWhenAlreadyInIt)
{
    GUI_featureConfig.setValue(QVariantMap{{"delivered", true}, {"trim", "long range"}});
    ProbedSlider* slider = newSlider();
    QSignalSpy moved(slider, &SlideSwitch::positionChanged);
    EXPECT_EQ(slider->position(), FactoryModeSlider::OffPosition);
    tapPosition(slider, FactoryModeSlider::FactoryPosition);
    EXPECT_EQ(slider->position(), FactoryModeSlider::OffPosition);
    EXPECT_EQ(moved.count(), 0);

    GUI_factoryMode.setValue(true);
    slider->updatePosition();
    EXPECT_EQ(slider->position(), FactoryModeSlider::FactoryPosition);
    tapPosition(slider, FactoryModeSlider::OffPosition);
    tapPosition(slider, FactoryModeSlider::FactoryPosition);
    EXPECT_EQ(moved.count(), 2);

    // Without the key (or with the map unknown) the car counts as not delivered.
    GUI_factoryMode.setValue(false);
    GUI_featureConfig.setValue(QVariantMap{{"trim", "long range"}});
    slider->updatePosition();
    EXPECT_TRUE(slider->isPositionAllowed(FactoryModeSlider::FactoryPosition));
    EXPECT_EQ(slider->labelOpacity(FactoryModeSlider::FactoryPosition), 1.0);
}

TEST_F(FactoryControlsTest, TheSliderShowsAFactoryModeRequestThatIsStillWaitingForTheCar)
{
    ProbedSlider* slider = newSlider();
    GUI_factoryMode.request(true);
    slider->updatePosition();
    EXPECT_EQ(slider->position(), FactoryModeSlider::FactoryPosition);
    GUI_factoryMode.request(false); // withdrawn before the car took it
    slider->updatePosition();
    EXPECT_EQ(slider->position(), FactoryModeSlider::OffPosition);
}
