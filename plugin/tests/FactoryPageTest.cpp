// The FACTORY page in a car's window: modes and their questions, end-of-line actions, the
// control rules and driving to the factory target, driven by touches on a display.
#include "core/Logger.h"
#include "diag/DeveloperSettingsPage.h"
#include "diag/factory/FactoryModeSlider.h"
#include "diag/factory/FactoryPage.h"
#include "diag/factory/LimitDropDown.h"
#include "views/ConfirmingButtonView.h"
#include "views/LabelView.h"
#include "FactoryFixture.h"

#include <QTimer>
#include <QTimerEvent>

namespace {

class FactoryPageTest : public FactoryFixture {
protected:
    FactoryPage* show()
    {
        page = adopt(new FactoryPage(&window, nullptr));
        page->setGeometry(QRect(32, 52, 1856, 1028));
        page->pageShown();
        drainEvents();
        slider = page->findChild<FactoryModeSlider*>();
        return page;
    }

    ButtonView* button(const QString& label) const { return labelled<ButtonView>(page, label); }
    bool shown(const QString& label) const
    {
        const DisplayView* view = labelled<DisplayView>(page, label);
        return view && view->isShown();
    }
    ButtonView* kestroButton() const
    {
        ButtonView* start = labelled<ButtonView>(page, "START");
        return start ? start : labelled<ButtonView>(page, "STOP");
    }
    QString kestroStatusLine() const
    {
        // The line beside the button in the block's row.
        for (DisplayView* view : kestroButton()->parentView()->childViews()) {
            if (auto* label = qobject_cast<LabelView*>(view))
                return label->text();
        }
        return "no status line";
    }

    // What the event loop does when the heartbeat's time has come: nothing once it stopped.
    void beat()
    {
        QTimer* timer = page->heartbeatTimer();
        if (!timer->isActive())
            return;
        QTimerEvent event(timer->timerId());
        QCoreApplication::sendEvent(timer, &event);
    }

    FactoryPage* page = nullptr;
    FactoryModeSlider* slider = nullptr;
};

} // namespace

TEST_F(FactoryPageTest, TheFormIsBuiltInOrderWithTheRowsThisCarHas)
{
    show();
    QStringList labels;
    for (const LabelView* label : page->findChildren<LabelView*>())
        labels << label->text();
    EXPECT_EQ(labels, QStringList({"FACTORY\nMODE", "TRIAL\nCAR", "MOTOR\nSELECTION", "POWER\nLIMIT (kW)", "TORQUE\nLIMIT (Nm)",
                                   "FACTORY KESTRO", ""}));
    ASSERT_TRUE(slider);
    EXPECT_EQ(slider->positions(), QStringList({"OFF", "FACTORY", "TRANSPORT"}));
    EXPECT_TRUE(page->findChild<MotorModeSwitch*>());
    EXPECT_EQ(page->findChildren<LimitDropDown*>().size(), 2);
    for (const char* present : {"RESET\nALL DATA", "SPEAKER\nTEST", "SLEEP\nTEST", "SEAT\nINSTALL", "SPOILER\nCALIBRATE",
                                "OVERRIDE\nFACTORY LIMITS", "NONE", "START"})
        EXPECT_TRUE(button(present)) << present;
    // Each row lies below the one before.
    EXPECT_LT(slider->rootGeometry().bottom(), button("RESET\nALL DATA")->rootGeometry().top());
    EXPECT_LT(button("OVERRIDE\nFACTORY LIMITS")->rootGeometry().bottom(), kestroButton()->rootGeometry().top());

    // A rear-drive car of type 1 without an active spoiler.
    VAPI_fourWheelDrive.setValue(false);
    VAPI_carType.setValue(1);
    VAPI_hasActiveSpoiler.setValue(false);
    show();
    EXPECT_FALSE(page->findChild<MotorModeSwitch*>());
    EXPECT_FALSE(labelled<LabelView>(page, "MOTOR\nSELECTION"));
    EXPECT_FALSE(button("SEAT\nINSTALL"));
    EXPECT_FALSE(button("SPOILER\nCALIBRATE"));

    // A car that has not told its type installs no seat either.
    VAPI_carType.setValue(2);
    {
        DataValue::EventLocker lock(VAPI_carType);
        VAPI_carType.setValidNoLock(false);
    }
    show();
    EXPECT_FALSE(button("SEAT\nINSTALL"));
}

TEST_F(FactoryPageTest, FactoryModeWithAnEnglishUIIsEnteredAtOnceAndLeftOnlyAfterAsking)
{
    show();
    tapPosition(slider, FactoryModeSlider::FactoryPosition);
    EXPECT_FALSE(question());
    EXPECT_EQ(pendingText(GUI_factoryMode), "true");
    EXPECT_EQ(slider->position(), FactoryModeSlider::FactoryPosition); // while the car has not taken it yet
    carAccepts();
    EXPECT_TRUE(GUI_factoryMode.value());

    tapPosition(slider, FactoryModeSlider::OffPosition);
    ASSERT_TRUE(question());
    EXPECT_EQ(question()->title(), "FACTORY MODE");
    EXPECT_EQ(question()->text(), "Are you sure you want to exit factory mode?");
    answer("NO");
    EXPECT_TRUE(GUI_factoryMode.value());
    EXPECT_EQ(pendingText(GUI_factoryMode), "none");
    EXPECT_EQ(pendingText(GUI_powerOffRailsRequest), "none");
    EXPECT_EQ(slider->position(), FactoryModeSlider::FactoryPosition);

    CapturingLogSink log;
    tapPosition(slider, FactoryModeSlider::OffPosition);
    answer("YES");
    EXPECT_EQ(pendingText(GUI_factoryMode), "false");
    EXPECT_EQ(pendingText(GUI_powerOffRailsRequest), "true"); // car type 3
    EXPECT_EQ(log.lines().filter("INFO exiting factory mode, turn rails off").size(), 1);
}

TEST_F(FactoryPageTest, LeavingFactoryModeTurnsRailsOffOnlyOnCarType3)
{
    VAPI_carType.setValue(2);
    GUI_factoryMode.setValue(true);
    show();
    tapPosition(slider, FactoryModeSlider::OffPosition);
    answer("YES");
    EXPECT_EQ(pendingText(GUI_factoryMode), "false");
    EXPECT_EQ(pendingText(GUI_powerOffRailsRequest), "none");
}

TEST_F(FactoryPageTest, AnotherLanguageWarnsOfTheRestartAndCancelChangesNothing)
{
    GUI_language.setValue(QLocale::German);
    show();
    tapPosition(slider, FactoryModeSlider::FactoryPosition);
    ASSERT_TRUE(question());
    EXPECT_EQ(question()->title(), "FACTORY MODE");
    EXPECT_EQ(question()->text(), "Enabling factory mode requires a UI restart to change the language.");
    answer("CANCEL");
    EXPECT_EQ(pendingText(GUI_factoryMode), "none");
    EXPECT_FALSE(GUI_factoryMode.value());
    EXPECT_EQ(slider->position(), FactoryModeSlider::OffPosition);

    tapPosition(slider, FactoryModeSlider::FactoryPosition);
    answer("OK");
    EXPECT_EQ(pendingText(GUI_factoryMode), "true");
    EXPECT_EQ(pendingText(GUI_transportMode), "none");
    carAccepts();

    // From factory straight to transport: the notice says disabling, and OK goes on to
    // transport mode without the host's own question.
    tapPosition(slider, FactoryModeSlider::TransportPosition);
    ASSERT_TRUE(question());
    EXPECT_EQ(question()->text(), "Disabling factory mode requires a UI restart to change the language.");
    answer("OK");
    EXPECT_FALSE(question());
    EXPECT_EQ(pendingText(GUI_factoryMode), "false");
    EXPECT_EQ(pendingText(GUI_transportMode), "true");
    carAccepts();

    // The transport flag is forgotten after its answer: a later change does not go there.
    GUI_transportMode.setValue(false);
    tapPosition(slider, FactoryModeSlider::FactoryPosition);
    answer("OK");
    EXPECT_EQ(pendingText(GUI_transportMode), "none");

    // A language the car has not told counts as not English.
    carAccepts();
    GUI_language.setValue(QLocale::English);
    {
        DataValue::EventLocker lock(GUI_language);
        GUI_language.setValidNoLock(false);
    }
    tapPosition(slider, FactoryModeSlider::OffPosition);
    ASSERT_TRUE(question());
    EXPECT_EQ(question()->text(), "Disabling factory mode requires a UI restart to change the language.");
}

TEST_F(FactoryPageTest, TransportGoesThroughTheHostsQuestionAndLeavesFactoryModeAlone)
{
    show();
    tapPosition(slider, FactoryModeSlider::TransportPosition);
    ASSERT_TRUE(question());
    EXPECT_EQ(question()->title(), "TRANSPORT MODE");
    answer("CANCEL");
    EXPECT_EQ(slider->position(), FactoryModeSlider::OffPosition);
    EXPECT_FALSE(GUI_transportMode.value());

    tapPosition(slider, FactoryModeSlider::TransportPosition);
    answer("ENTER");
    EXPECT_TRUE(GUI_transportMode.value());
    EXPECT_EQ(PlatformJournal::instance()->lines(), QStringList{"CenterDisplay.setTransportMode(true)"});
    EXPECT_EQ(pendingText(GUI_factoryMode), "none");
    EXPECT_EQ(slider->position(), FactoryModeSlider::TransportPosition);
    EXPECT_FALSE(slider->isPositionAllowed(FactoryModeSlider::FactoryPosition));

    // Back to off asks the host again.
    tapPosition(slider, FactoryModeSlider::OffPosition);
    ASSERT_TRUE(question());
    EXPECT_EQ(question()->title(), "TRANSPORT MODE");
    answer("LEAVE");
    EXPECT_FALSE(GUI_transportMode.value());
    EXPECT_EQ(slider->position(), FactoryModeSlider::OffPosition);
}

TEST_F(FactoryPageTest, ControlsFollowParkFactoryModeAndTheLimitOverride)
{
    show();
    auto* override = labelled<ConfirmingButtonView>(page, "OVERRIDE\nFACTORY LIMITS");
    auto* power = labelled<ButtonView>(page, "NONE");
    ASSERT_TRUE(override && power);
    auto* trial = labelled<SlideSwitch>(page, "OFF/ON");
    EXPECT_TRUE(slider->isEnabled());
    EXPECT_FALSE(override->isEnabled()); // not in factory mode
    EXPECT_FALSE(power->isEnabled());
    EXPECT_FALSE(shown("SEAT\nINSTALL"));
    EXPECT_FALSE(shown("SPOILER\nCALIBRATE"));
    EXPECT_FALSE(button("SLEEP\nTEST")->isEnabled());
    EXPECT_FALSE(trial->isEnabled());

    GUI_factoryMode.setValue(true);
    EXPECT_TRUE(override->isEnabled());
    EXPECT_TRUE(shown("SEAT\nINSTALL"));
    EXPECT_TRUE(shown("SPOILER\nCALIBRATE"));
    EXPECT_TRUE(button("SLEEP\nTEST")->isEnabled());
    EXPECT_TRUE(trial->isEnabled());
    EXPECT_EQ(slider->position(), FactoryModeSlider::FactoryPosition);

    VAPI_gear.setValue(4);
    EXPECT_FALSE(slider->isEnabled());
    EXPECT_FALSE(override->isEnabled());
    {
        DataValue::EventLocker lock(VAPI_gear); // a gear the car has not told is not park
        VAPI_gear.setValidNoLock(false);
    }
    EXPECT_FALSE(slider->isEnabled());
    VAPI_gear.setValue(1);
    EXPECT_TRUE(slider->isEnabled());

    // The override is a confirmed press; the limits open once the car has taken it.
    tap(override);
    EXPECT_EQ(pendingText(GUI_factoryModeLimitOverride), "none");
    tap(override);
    EXPECT_EQ(pendingText(GUI_factoryModeLimitOverride), "true");
    EXPECT_FALSE(power->isEnabled());
    carAccepts();
    EXPECT_TRUE(power->isEnabled());
    EXPECT_TRUE(labelled<ButtonView>(page, "NONE")->isEnabled());
    EXPECT_FALSE(override->isEnabled());
}

TEST_F(FactoryPageTest, EndOfLineActionsAskOrRunTheirCommand)
{
    GUI_factoryMode.setValue(true);
    show();

    CapturingLogSink log;
    tap(button("SPEAKER\nTEST"));
    tap(button("SPEAKER\nTEST"));
    tap(button("SPEAKER\nTEST"));
    // Unit tests have no host commands on PATH: each attempt is logged, in order.
    EXPECT_EQ(log.lines().filter("WARN Host command"),
              QStringList({"WARN Host command emit-start-factory-speaker-test could not be started",
                           "WARN Host command emit-stop-factory-speaker-test could not be started",
                           "WARN Host command emit-start-factory-speaker-test could not be started"}));

    tap(button("RESET\nALL DATA"));
    ASSERT_TRUE(question());
    EXPECT_EQ(question()->title(), "ERASE ALL DATA");
    EXPECT_TRUE(question()->isModal());
    EXPECT_EQ(question()->width(), 610);
    answer("RESET");
    EXPECT_EQ(PlatformJournal::instance()->lines(), QStringList{"FactoryResetManager.eraseAllData()"});

    tap(button("SPOILER\nCALIBRATE"));
    ASSERT_TRUE(question());
    EXPECT_EQ(question()->title(), "CALIBRATE SPOILER");
    EXPECT_EQ(question()->text(), "Calibrating the spoiler takes up to 90 seconds. Are you sure?");
    answer("NO");
    EXPECT_EQ(pendingText(GUI_spoilerCalibrationRequest), "none");
    tap(button("SPOILER\nCALIBRATE"));
    answer("YES");
    EXPECT_EQ(pendingText(GUI_spoilerCalibrationRequest), "true");
    // The page with a spoiler started the framework's log of that request.
    EXPECT_EQ(log.lines().filter("changed: false → true (pending)").size(), 1);

    tapPosition(labelled<SlideSwitch>(page, "OFF/ON"), 1);
    EXPECT_EQ(pendingText(GUI_trialCar), "true");
    tap(button("SLEEP\nTEST"));
    EXPECT_TRUE(GUI_transportModeSleepTestRequest.value());
    GUI_transportModeSleepTestRequest.setValue(false);
}

TEST_F(FactoryPageTest, DrivingStatusSetsTheButtonAndLineAndEndsTheRequestWhenNotReady)
{
    GUI_factoryMode.setValue(true);
    show();
    ASSERT_TRUE(kestroButton());
    EXPECT_EQ(kestroButton()->label(), "START");
    EXPECT_TRUE(kestroButton()->isEnabled());

    const QStringList lines{"No QR code detected", "Too far from next target.", "No GPS signal",
                            "Can't determine vehicle speed", "Can't determine heading", "Last instruction completed"};
    for (int status = 0; status <= 9; ++status) {
        DAS_factoryKestroStatus.setValue(1);
        GUI_factoryKestro.setValue(true);
        EXPECT_EQ(kestroButton()->label(), "STOP");
        DAS_factoryKestroStatus.setValue(status);
        if (status == 1 || status == 2) {
            EXPECT_TRUE(kestroButton()->isEnabled()) << status;
            EXPECT_EQ(kestroStatusLine(), "") << status;
            continue;
        }
        EXPECT_FALSE(kestroButton()->isEnabled()) << status;
        EXPECT_EQ(kestroButton()->label(), "START") << status;
        EXPECT_FALSE(GUI_factoryKestro.value()) << status;
        EXPECT_EQ(kestroStatusLine(), status >= 3 && status <= 8 ? lines[status - 3] : "") << status;
    }

    // Driving outside factory mode: refused the same way.
    DAS_factoryKestroStatus.setValue(2);
    GUI_factoryKestro.setValue(true);
    GUI_factoryMode.setValue(false);
    EXPECT_FALSE(GUI_factoryKestro.value());
    EXPECT_FALSE(kestroButton()->isEnabled());
    DAS_factoryKestroStatus.setValue(1);
    EXPECT_FALSE(GUI_factoryKestro.value());
    EXPECT_FALSE(kestroButton()->isEnabled());
}

TEST_F(FactoryPageTest, TheHeartbeatCountsWhileDrivingIsRequestedAndStopsWithTheRequest)
{
    GUI_factoryMode.setValue(true);
    show();
    QTimer* heartbeat = page->heartbeatTimer();
    EXPECT_EQ(heartbeat->interval(), 500);
    EXPECT_FALSE(heartbeat->isActive());

    tap(kestroButton()); // START
    EXPECT_TRUE(GUI_factoryKestro.value());
    EXPECT_TRUE(heartbeat->isActive());
    beat();
    beat();
    EXPECT_EQ(GUI_factoryKestroHeartbeat.value(), 2);

    // The car reports it drives; STOP ends the request.
    DAS_factoryKestroStatus.setValue(1);
    tap(labelled<ButtonView>(page, "STOP"));
    EXPECT_FALSE(GUI_factoryKestro.value());
    beat();
    EXPECT_EQ(GUI_factoryKestroHeartbeat.value(), 2);

    // A status that ends driving ends the beat within the tick.
    DAS_factoryKestroStatus.setValue(2);
    tap(kestroButton());
    beat();
    EXPECT_EQ(GUI_factoryKestroHeartbeat.value(), 3);
    DAS_factoryKestroStatus.setValue(5);
    beat();
    EXPECT_EQ(GUI_factoryKestroHeartbeat.value(), 3);

    // And so does leaving factory mode.
    DAS_factoryKestroStatus.setValue(2);
    tap(kestroButton());
    beat();
    GUI_factoryMode.setValue(false);
    beat();
    EXPECT_EQ(GUI_factoryKestroHeartbeat.value(), 4);
    EXPECT_FALSE(heartbeat->isActive());
}

TEST_F(FactoryPageTest, ARequestStandingWhenThePageLoadsStartsTheHeartbeat)
{
    GUI_factoryMode.setValue(true);
    DAS_factoryKestroStatus.setValue(1);
    GUI_factoryKestro.setValue(true);
    show();
    EXPECT_TRUE(page->heartbeatTimer()->isActive());
    EXPECT_EQ(kestroButton()->label(), "STOP");
}
