// The FACTORY page and its controls in a car's window, driven by touches on a display.
#include "core/DataValues.h"
#include "core/Logger.h"
#include "diag/DeveloperSettingsPage.h"
#include "diag/factory/FactoryModeSlider.h"
#include "diag/factory/FactoryPage.h"
#include "diag/factory/LimitDropDown.h"
#include "views/ConfirmingButtonView.h"
#include "views/LabelView.h"
#include "views/popup/ConfirmationPopup.h"
#include "PageFixture.h"

#include <QTimer>
#include <QTimerEvent>

namespace {

enum { Off = FactoryModeSlider::OffPosition, Factory = FactoryModeSlider::FactoryPosition,
       Transport = FactoryModeSlider::TransportPosition };

class FactoryPageTest : public PageFixture {
protected:
    FactoryPageTest()
    {
        const std::pair<DataValue*, const char*> car[] = {
            {&GUI_factoryMode, "false"}, {&GUI_transportMode, "false"}, {&GUI_language, "31"},
            {&GUI_trialCar, "false"}, {&GUI_featureConfig, "{\"delivered\":false}"}, {&GUI_powerOffRailsRequest, "false"},
            {&GUI_spoilerCalibrationRequest, "false"}, {&GUI_factoryModeLimitOverride, "false"},
            {&GUI_powerLimitRequest, "31"}, {&GUI_torqueLimitRequest, "63"}, {&GUI_factoryKestro, "false"},
            {&GUI_factoryKestroHeartbeat, "0"}, {&DAS_factoryKestroStatus, "2"}, {&VAPI_gear, "1"}, {&VAPI_carType, "3"},
            {&VAPI_fourWheelDrive, "true"}, {&VAPI_hasActiveSpoiler, "true"}};
        for (const auto& [value, text] : car)
            carHas(*value, text);
    }

    void show()
    {
        page = PageFixture::show(new FactoryPage(&root, nullptr));
        slider = page->findChild<FactoryModeSlider*>();
    }

    template <typename View = DisplayView>
    View* labelled(const QString& text) const { return PageFixture::labelled<View>(page, text); }
    bool shown(const QString& label) const { return labelled(label) && labelled(label)->isShown(); }
    ButtonView* kestroButton() const
    {
        return labelled<ButtonView>("START") ? labelled<ButtonView>("START") : labelled<ButtonView>("STOP");
    }
    void tapPosition(int position)
    {
        const QRect r = slider->rootGeometry();
        display.tap(QPoint(r.left() + (2 * position + 1) * r.width() / 6, r.center().y()));
        drainEvents();
    }
    static ConfirmationPopup* question() { return qobject_cast<ConfirmationPopup*>(theCenterDisplay->topmostPopup()); }
    static QString asked() { return question() ? question()->title() + ": " + question()->text() : "no question"; }
    void answer(const QString& button)
    {
        ASSERT_TRUE(question()) << "no question to answer " << button.toStdString();
        tap(PageFixture::labelled<ButtonView>(question(), button));
    }
    // What the event loop does when the heartbeat is due: nothing once it has stopped.
    void beat()
    {
        if (page->heartbeatTimer()->isActive()) {
            QTimerEvent event(page->heartbeatTimer()->timerId());
            QCoreApplication::sendEvent(page->heartbeatTimer(), &event);
        }
    }
    static void carAccepts(DataValue& value)
    {
        DataValue::EventLocker lock(value);
        value.acceptPendingNoLock();
    }

    FactoryPage* page = nullptr;
    FactoryModeSlider* slider = nullptr;
};

} // namespace

TEST_F(FactoryPageTest, RowsFollowTheCarAndControlsFollowParkFactoryModeAndOverride)
{
    show();
    ASSERT_TRUE(slider);
    EXPECT_TRUE(page->findChild<MotorModeSwitch*>());
    auto* override = labelled<ConfirmingButtonView>("OVERRIDE\nFACTORY LIMITS");
    ASSERT_TRUE(override);
    EXPECT_FALSE(override->isEnabled());
    EXPECT_FALSE(labelled("NONE")->isEnabled());
    EXPECT_FALSE(shown("SEAT\nINSTALL") || shown("SPOILER\nCALIBRATE"));
    EXPECT_FALSE(labelled("SLEEP\nTEST")->isEnabled() || labelled("OFF/ON")->isEnabled());

    GUI_factoryMode.setValue(true);
    EXPECT_EQ(slider->position(), Factory);
    EXPECT_TRUE(override->isEnabled());
    EXPECT_TRUE(shown("SEAT\nINSTALL") && shown("SPOILER\nCALIBRATE"));
    EXPECT_TRUE(labelled("SLEEP\nTEST")->isEnabled() && labelled("OFF/ON")->isEnabled());
    VAPI_gear.setValue(4);
    EXPECT_FALSE(slider->isEnabled() || override->isEnabled());
    VAPI_gear.setValue(1);

    // A confirmed press asks for the override; the limits open once the car has taken it.
    tap(override);
    tap(override);
    EXPECT_EQ(pendingText(GUI_factoryModeLimitOverride), "true");
    EXPECT_FALSE(labelled("NONE")->isEnabled());
    carAccepts(GUI_factoryModeLimitOverride);
    EXPECT_TRUE(labelled("NONE")->isEnabled());
    EXPECT_FALSE(override->isEnabled());

    // A rear-drive car of type 1 without a spoiler; a car that has not told its type.
    VAPI_fourWheelDrive.setValue(false);
    VAPI_carType.setValue(1);
    VAPI_hasActiveSpoiler.setValue(false);
    show();
    EXPECT_FALSE(page->findChild<MotorModeSwitch*>() || labelled("MOTOR\nSELECTION"));
    EXPECT_FALSE(labelled("SEAT\nINSTALL") || labelled("SPOILER\nCALIBRATE"));
    setValid(VAPI_carType, false);
    show();
    EXPECT_FALSE(labelled("SEAT\nINSTALL"));
}

TEST_F(FactoryPageTest, LimitsShowTheNearestChoiceAndAskTheCar)
{
    GUI_factoryModeLimitOverride.setValue(true);
    show();
    const QList<LimitDropDown*> limits = page->findChildren<LimitDropDown*>();
    ASSERT_EQ(limits.size(), 2);
    EXPECT_EQ(limits[0]->choices(), QStringList({"NONE", "20", "40", "60", "80", "100", "120", "140", "160", "180", "200"}));
    EXPECT_EQ(limits[1]->choices(), QStringList({"NONE", "4000", "4500", "5000", "5500", "6000", "6500"}));
    using Cases = std::initializer_list<std::pair<int, QString>>;
    for (const auto& [power, text] : Cases{{35, "40"}, {250, "200"}, {5, "20"}, {31, "NONE"}}) {
        GUI_powerLimitRequest.setValue(power);
        EXPECT_EQ(limits[0]->choiceText(), text) << power;
    }
    for (const auto& [torque, text] : Cases{{4200, "4000"}, {4300, "4500"}, {4250, "4500"}, {63, "NONE"}}) {
        GUI_torqueLimitRequest.setValue(torque);
        EXPECT_EQ(limits[1]->choiceText(), text) << torque;
    }
    // Only a value the car vouches for means no limit.
    setValid(GUI_torqueLimitRequest, false);
    EXPECT_EQ(limits[1]->choiceText(), "4000");
    GUI_torqueLimitRequest.setValue(63);
    GUI_powerLimitRequest.setValue(100);

    ASSERT_TRUE(choose(labelled("NONE"), "5000"));
    EXPECT_EQ(pendingText(GUI_torqueLimitRequest), "5000");
    EXPECT_EQ(limits[1]->choiceText(), "5000"); // the request, not the value the car still has
    ASSERT_TRUE(choose(labelled("5000"), "NONE"));
    EXPECT_EQ(pendingText(GUI_torqueLimitRequest), "none"); // what the car has: withdrawn

    // A range off the step's multiples: values round between the choices, nothing is chosen.
    IntDataValue odd("TEST_oddLimit", 50);
    LimitDropDown offGrid(page, odd, 30, 90, 20, 0);
    EXPECT_EQ(offGrid.choiceIndex(), -1);
}

TEST_F(FactoryPageTest, TheModeSliderBarsFactoryInTransportAndOnADeliveredCar)
{
    GUI_transportMode.setValue(true);
    show();
    EXPECT_EQ(slider->position(), Transport);
    tapPosition(Factory);
    EXPECT_EQ(slider->position(), Transport);
    EXPECT_FALSE(question());

    GUI_transportMode.setValue(false);
    GUI_featureConfig.setValue(QVariantMap{{"delivered", true}});
    EXPECT_EQ(slider->position(), Off);
    tapPosition(Factory);
    EXPECT_EQ(slider->position(), Off);
    EXPECT_EQ(pendingText(GUI_factoryMode), "none");
    GUI_factoryMode.setValue(true); // one already in it is shown there and may come back
    EXPECT_TRUE(slider->isPositionAllowed(Factory));
    GUI_featureConfig.setValue(QVariantMap{}); // no key: not delivered
    GUI_factoryMode.setValue(false);
    EXPECT_TRUE(slider->isPositionAllowed(Factory));
}

TEST_F(FactoryPageTest, LeavingFactoryModeAsksAndTurnsTheRailsOffOnlyOnCarType3)
{
    GUI_factoryMode.setValue(true);
    show();
    tapPosition(Off);
    EXPECT_EQ(asked(), "FACTORY MODE: Are you sure you want to exit factory mode?");
    answer("NO");
    EXPECT_EQ(slider->position(), Factory);
    EXPECT_EQ(pendingText(GUI_factoryMode), "none");

    CapturingLogSink log;
    VAPI_carType.setValue(2);
    tapPosition(Off);
    answer("YES");
    EXPECT_EQ(pendingText(GUI_factoryMode), "false");
    EXPECT_EQ(pendingText(GUI_powerOffRailsRequest), "none");
    EXPECT_TRUE(log.lines().filter("turn rails off").isEmpty());
}

TEST_F(FactoryPageTest, AnotherLanguageWarnsOfTheRestartAndCarriesTheWayToTransport)
{
    GUI_language.setValue(QLocale::German);
    GUI_factoryMode.setValue(true);
    show();
    // From factory straight to transport: OK leaves factory mode and enters transport,
    // without the host's own question.
    tapPosition(Transport);
    EXPECT_EQ(asked(), "FACTORY MODE: Disabling factory mode requires a UI restart to change the language.");
    answer("OK");
    EXPECT_FALSE(question());
    EXPECT_EQ(pendingText(GUI_factoryMode), "false");
    EXPECT_EQ(pendingText(GUI_transportMode), "true");

    // The flag is spent: the next change goes nowhere near transport.
    carAccepts(GUI_factoryMode);
    carAccepts(GUI_transportMode);
    GUI_transportMode.setValue(false);
    tapPosition(Factory);
    EXPECT_EQ(asked(), "FACTORY MODE: Enabling factory mode requires a UI restart to change the language.");
    answer("OK");
    EXPECT_EQ(pendingText(GUI_factoryMode), "true");
    EXPECT_EQ(pendingText(GUI_transportMode), "none");

    // A language the car has not told is not English.
    carAccepts(GUI_factoryMode);
    GUI_language.setValue(QLocale::English);
    setValid(GUI_language, false);
    tapPosition(Off);
    EXPECT_EQ(asked(), "FACTORY MODE: Disabling factory mode requires a UI restart to change the language.");
}

TEST_F(FactoryPageTest, EndOfLineActions)
{
    GUI_factoryMode.setValue(true);
    show();
    CapturingLogSink log;
    for (int press = 0; press < 3; ++press)
        tap(labelled("SPEAKER\nTEST"));
    // No host commands on PATH in unit tests: each attempt is logged, in order.
    EXPECT_EQ(log.lines().filter("WARN Host command"),
              QStringList({"WARN Host command emit-start-factory-speaker-test could not be started",
                           "WARN Host command emit-stop-factory-speaker-test could not be started",
                           "WARN Host command emit-start-factory-speaker-test could not be started"}));

    tap(labelled("RESET\nALL DATA"));
    EXPECT_TRUE(asked().startsWith("ERASE ALL DATA: "));
    answer("RESET");
    EXPECT_EQ(PlatformJournal::instance()->lines(), QStringList{"FactoryResetManager.eraseAllData()"});

    tap(labelled("SPOILER\nCALIBRATE"));
    EXPECT_EQ(asked(), "CALIBRATE SPOILER: Calibrating the spoiler takes up to 90 seconds. Are you sure?");
    answer("NO");
    EXPECT_EQ(pendingText(GUI_spoilerCalibrationRequest), "none");
    tap(labelled("SPOILER\nCALIBRATE"));
    answer("YES");
    EXPECT_EQ(pendingText(GUI_spoilerCalibrationRequest), "true");
    EXPECT_EQ(log.lines().filter("INFO changed: false → true (pending)").size(), 1); // logged by the framework

    display.tap(labelled("OFF/ON")->rootGeometry().topRight() + QPoint(-20, 20));
    EXPECT_EQ(pendingText(GUI_trialCar), "true");
}

TEST_F(FactoryPageTest, DrivingStatusSetsButtonAndLineAndEndsTheRequestUnlessReadyOrDriving)
{
    GUI_factoryMode.setValue(true);
    show();
    const QStringList lines{"", "", "", "No QR code detected", "Too far from next target.", "No GPS signal",
                            "Can't determine vehicle speed", "Can't determine heading", "Last instruction completed", ""};
    for (int status = 0; status < lines.size(); ++status) {
        DAS_factoryKestroStatus.setValue(1);
        GUI_factoryKestro.setValue(true);
        EXPECT_EQ(kestroButton()->label(), "STOP");
        DAS_factoryKestroStatus.setValue(status);
        const bool going = status == 1 || status == 2;
        EXPECT_EQ(kestroButton()->isEnabled(), going) << status;
        EXPECT_EQ(GUI_factoryKestro.value(), going) << status;
        EXPECT_EQ(kestroButton()->label(), status == 1 ? "STOP" : "START") << status;
        EXPECT_TRUE(labelled<LabelView>(lines[status])) << status;
    }
    // Driving outside factory mode is refused the same way.
    DAS_factoryKestroStatus.setValue(1);
    GUI_factoryKestro.setValue(true);
    GUI_factoryMode.setValue(false);
    EXPECT_FALSE(GUI_factoryKestro.value() || kestroButton()->isEnabled());
}

TEST_F(FactoryPageTest, TheHeartbeatCountsWhileRequestedAndStopsWithTheRequest)
{
    GUI_factoryMode.setValue(true);
    show();
    tap(kestroButton()); // START
    beat();
    beat();
    EXPECT_EQ(GUI_factoryKestroHeartbeat.value(), 2);
    DAS_factoryKestroStatus.setValue(1);
    tap(kestroButton()); // STOP
    beat();
    EXPECT_EQ(GUI_factoryKestroHeartbeat.value(), 2);

    DAS_factoryKestroStatus.setValue(2);
    tap(kestroButton());
    DAS_factoryKestroStatus.setValue(5);
    beat();
    DAS_factoryKestroStatus.setValue(2);
    tap(kestroButton());
    GUI_factoryMode.setValue(false);
    beat();
    EXPECT_EQ(GUI_factoryKestroHeartbeat.value(), 2);

    // A request standing when the page loads beats from the start.
    GUI_factoryMode.setValue(true);
    DAS_factoryKestroStatus.setValue(1);
    GUI_factoryKestro.setValue(true);
    show();
    beat();
    EXPECT_EQ(GUI_factoryKestroHeartbeat.value(), 3);
}
