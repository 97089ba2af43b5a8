// The SETTINGS and ACTIONS pages in a car's window, driven by touches on a display.
#include "core/DataValues.h"
#include "core/Logger.h"
#include "diag/DeveloperActionsPage.h"
#include "diag/DeveloperSettingsPage.h"
#include "views/CenterDisplay.h"
#include "services/PlatformJournal.h"
#include "views/ConfirmingButtonView.h"
#include "views/KineticScroller.h"
#include "views/SlideSwitch.h"
#include "views/DropDownPicker.h"
#include "views/LabelView.h"
#include "views/popup/ConfirmationPopup.h"
#include "PageFixture.h"

#include <QLocale>

namespace {

class DeveloperPagesTest : public PageFixture {
protected:
    DeveloperPagesTest()
    {
        const std::pair<DataValue*, const char*> car[] = {
            {&GUI_developerMode, "true"}, {&GUI_diagnosticMode, "false"}, {&GUI_factoryMode, "false"},
            {&GUI_isDevelopmentCar, "true"}, {&VAPI_carType, "1"}, {&VAPI_gear, "1"}, {&VAPI_driveRailOn, "true"},
            {&VAPI_towModeEnabled, "false"}, {&VAPI_hasParkAssist, "true"}, {&VAPI_esp2, "true"},
            {&VAPI_velocorCapable, "true"}, {&VAPI_fourWheelDrive, "true"}, {&GUI_speedLimitRequest, "85"},
            {&GUI_espModeRequest, "0"}, {&GUI_enableSpeedLimitRequest, "true"}, {&GUI_powerOffRailsRequest, "false"},
            {&GUI_stopRailsAnd12VSupportRequest, "false"}};
        for (const auto& [value, text] : car)
            carHas(*value, text);
    }
};

} // namespace

TEST_F(DeveloperPagesTest, SpeedPickerGreysLowSpeedsOnDevelopmentCarsAndRequestsTheChoice)
{
    auto* page = show<DeveloperSettingsPage>();
    auto* speed = labelled<DropDownPicker>(page, "60");
    ASSERT_TRUE(speed);
    auto* model = qobject_cast<DevSpeedLimitModel*>(speed->model());
    ASSERT_TRUE(model);
    QStringList enabled;
    for (int row = 0; row < 9; ++row)
        enabled << (model->isEnabled(TableModelIndex(nullptr, 1, row)) ? "y" : "n");
    EXPECT_EQ(enabled.join(""), "nnnnnyyyy");
    EXPECT_TRUE(model->isEnabled(TableModelIndex(nullptr, 1, -1)));
    EXPECT_TRUE(model->isEnabled(TableModelIndex(nullptr, 1, 9)));

    // A greyed row refuses the tap and the list stays open.
    EXPECT_TRUE(choose(speed, "70"));
    EXPECT_TRUE(speed->isOpen());
    EXPECT_EQ(pendingText(GUI_speedLimitRequest), "none");
    speed->closeList();

    EXPECT_TRUE(choose(speed, "95"));
    EXPECT_EQ(pendingText(GUI_speedLimitRequest), "95");
    EXPECT_EQ(GUI_speedLimitRequest.value(), 85); // the car has not taken it yet
    // Choosing what the car already has withdraws the request.
    EXPECT_TRUE(choose(speed, "85"));
    EXPECT_EQ(pendingText(GUI_speedLimitRequest), "none");
    // Later changes made elsewhere do not move the picker.
    GUI_speedLimitRequest.setValue(100);
    EXPECT_EQ(speed->choiceText(), "85");

    GUI_isDevelopmentCar.setValue(false);
    for (int row = 0; row < 9; ++row)
        EXPECT_TRUE(model->isEnabled(TableModelIndex(nullptr, 1, row))) << row;

    GUI_enableSpeedLimitRequest.setValue(false);
    EXPECT_FALSE(speed->isEnabled());
}

TEST_F(DeveloperPagesTest, ModePickersOpenAtTheClampedValueAndWriteOnlyRealChanges)
{
    const QStringList tcNames{"STANDARD", "SLIP", "DEV MODE", "OFF"};
    GUI_tractionControlModeRequest.setValue(99);
    GUI_dragStripModeRequest.setValue(-4);
    auto* page = show<DeveloperSettingsPage>();
    const QList<DropDownPicker*> pickers = page->findChildren<DropDownPicker*>();
    ASSERT_EQ(pickers.size(), 4); // speed, ESP, TC, drag strip
    DropDownPicker* esp = pickers[1];
    DropDownPicker* tc = pickers[2];
    DropDownPicker* drag = pickers[3];
    EXPECT_EQ(tc->choices(), tcNames);
    EXPECT_EQ(tc->choiceIndex(), tcNames.size()); // past the end: nothing chosen
    EXPECT_EQ(drag->choiceIndex(), 0);

    CapturingLogSink log;
    EXPECT_TRUE(choose(esp, "NORMAL")); // already requested
    EXPECT_TRUE(log.lines().filter("user changed").isEmpty());
    EXPECT_TRUE(choose(esp, "OFF"));
    EXPECT_EQ(GUI_espModeRequest.value(), 2);
    EXPECT_EQ(pendingText(GUI_espModeRequest), "none"); // written straight away
    EXPECT_EQ(log.lines().filter("INFO user changed esp mode request").size(), 1);
    ASSERT_FALSE(log.records().isEmpty());
    EXPECT_TRUE(log.records().last().context.startsWith("DeveloperSettingsPage"));

    // The car (or another screen) changing the request moves the picker.
    GUI_tractionControlModeRequest.setValue(1);
    EXPECT_EQ(tc->choiceText(), "SLIP");
    setValid(GUI_espModeRequest, false);
    EXPECT_EQ(esp->choiceIndex(), 0);
    setValid(GUI_espModeRequest, true);
}

TEST_F(DeveloperPagesTest, RowsFollowTheCarAtFirstLoadAndControlsFollowItsState)
{
    VAPI_hasParkAssist.setValue(false);
    VAPI_carType.setValue(2);
    GUI_developerMode.setValue(false);
    auto* plain = show<DeveloperSettingsPage>();
    EXPECT_TRUE(labelled<LabelView>(plain, "LIMIT TOP SPEED"));
    for (const char* absent : {"PARK ASSIST", "SPOILER", "NEVER SLEEP", "ESP Mode", "USER INTERFACE"})
        EXPECT_FALSE(labelled<LabelView>(plain, absent)) << absent;
    GUI_developerMode.setValue(true);
    drainEvents();
    EXPECT_FALSE(labelled<LabelView>(plain, "NEVER SLEEP")); // decided at first load
    VAPI_gear.setValue(4); // no spoiler switch to follow: nothing breaks

    VAPI_hasParkAssist.setValue(true);
    VAPI_carType.setValue(1);
    auto* full = show<DeveloperSettingsPage>();
    for (const char* present : {"PARK ASSIST", "SPOILER", "NEVER SLEEP", "ESP Mode", "TC Mode", "Drag Strip Mode",
                                "EggWot UI", "USER INTERFACE", "TAP ANIMATION:"})
        EXPECT_TRUE(labelled<LabelView>(full, present)) << present;
    auto* spoiler = labelled<SlideSwitch>(full, "Vision/Aero/Retract/Auto");
    ASSERT_TRUE(spoiler);
    EXPECT_FALSE(spoiler->isEnabled()); // in drive
    VAPI_gear.setValue(1);
    EXPECT_TRUE(spoiler->isEnabled());
    DropDownPicker* esp = full->findChildren<DropDownPicker*>()[1];
    EXPECT_TRUE(esp->isEnabled());
    VAPI_driveRailOn.setValue(false);
    EXPECT_FALSE(esp->isEnabled());
}

TEST_F(DeveloperPagesTest, MotorModeSwitchIsSelectableOnlyWhenAllowedAndParked)
{
    GUI_factoryMode.setValue(true);
    MotorModeSwitch motor(&root, false);
    EXPECT_EQ(motor.valueSource(), &GUI_motorMode);
    EXPECT_TRUE(motor.isEnabled());
    VAPI_gear.setValue(4);
    EXPECT_FALSE(motor.isEnabled());
    VAPI_gear.setValue(1);
    GUI_factoryMode.setValue(false); // neither factory nor diagnostic mode: not allowed
    EXPECT_FALSE(motor.isEnabled());
    GUI_diagnosticMode.setValue(true);
    EXPECT_TRUE(motor.isEnabled());
}

TEST_F(DeveloperPagesTest, ActionsConfirmThenCallTheirServiceOrCommand)
{
    auto* page = show<DeveloperActionsPage>();
    auto* gateway = labelled<ConfirmingButtonView>(page, "REBOOT\nGATEWAY");
    auto* airplane = labelled<ConfirmingButtonView>(page, "MODEM\nAIRPLANE");
    ASSERT_TRUE(gateway && airplane);
    EXPECT_EQ(airplane->confirmText(), "TOGGLE");
    EXPECT_NE(gateway->confirmText(), "TOGGLE");

    CapturingLogSink log;
    tap(gateway);
    EXPECT_TRUE(gateway->isArmed());
    EXPECT_TRUE(log.lines().filter("Rebooting gateway").isEmpty());
    tap(gateway);
    EXPECT_EQ(log.lines().filter("INFO Rebooting gateway").size(), 1);
    // Unit tests have no host commands on PATH: the failure is logged, the page goes on.
    EXPECT_EQ(log.lines().filter("WARN Host command emit-reboot-gateway could not be started").size(), 1);

    for (const char* label : {"RESTART\nMODEM", "RESTART\nWIFI", "RST RADIO\nDATA", "RESET CHARGE\nLOCATIONS",
                              "CLEAR\nENERGY LOG", "RESTART\nUI APP", "SLEEP"}) {
        auto* button = labelled<ConfirmingButtonView>(page, label);
        ASSERT_TRUE(button) << label;
        tap(button);
        tap(button);
    }
    EXPECT_EQ(PlatformJournal::instance()->lines(),
              QStringList({"NetManager.asyncResetModem()", "NetManager.asyncResetWifi(diagnostic page request)",
                           "RadioServer.asyncFactoryReset()", "CenterDisplayService.clearChargingLocationPreferences()",
                           "EVLogService.clearEnergyLog()", "CenterDisplay.restart(manual)",
                           "DisplayStateManager.requestPowerOff()"}));
    EXPECT_EQ(log.lines().filter("ERROR NOTE: Sleeping manually").size(), 1);

    PlatformJournal::instance()->clear();
    tap(labelled<ButtonView>(page, "RESET\nDATA"));
    auto* question = qobject_cast<ConfirmationPopup*>(theCenterDisplay->topmostPopup());
    ASSERT_TRUE(question);
    EXPECT_EQ(question->title(), "RESET DATA");
    EXPECT_TRUE(PlatformJournal::instance()->lines().isEmpty()); // asks first
    question->answer(true);
    EXPECT_EQ(PlatformJournal::instance()->lines(), QStringList{"FactoryResetManager.resetData()"});
}

TEST_F(DeveloperPagesTest, StopTwelveVoltRequestsBothRailsAndPressingAgainWithdrawsNothingTwice)
{
    auto* page = show<DeveloperActionsPage>();
    auto* stop = labelled<ConfirmingButtonView>(page, "STOP 12V\nSUPPORT");
    auto* rails = labelled<ButtonView>(page, "TURN\nRAILS OFF");
    GUI_powerOffRailsRequest.setValue(false);
    GUI_stopRailsAnd12VSupportRequest.setValue(false);
    tap(stop);
    tap(stop);
    EXPECT_EQ(pendingText(GUI_powerOffRailsRequest), "true");
    EXPECT_EQ(pendingText(GUI_stopRailsAnd12VSupportRequest), "true");

    // Both already true: nothing is left pending.
    GUI_powerOffRailsRequest.setValue(true);
    GUI_stopRailsAnd12VSupportRequest.setValue(true);
    for (int press = 0; press < 2; ++press) {
        tap(stop);
        tap(stop);
    }
    EXPECT_EQ(pendingText(GUI_powerOffRailsRequest), "none");
    EXPECT_EQ(pendingText(GUI_stopRailsAnd12VSupportRequest), "none");

    // The two rail buttons follow the tow mode.
    VAPI_towModeEnabled.setValue(true);
    EXPECT_FALSE(stop->isEnabled());
    EXPECT_FALSE(rails->isEnabled());
    VAPI_towModeEnabled.setValue(false);
    EXPECT_TRUE(stop->isEnabled());
    EXPECT_TRUE(rails->isEnabled());
}

TEST_F(DeveloperPagesTest, SleepExistsOnlyWhenAModeIsOnAtLoad)
{
    GUI_developerMode.setValue(false);
    auto* page = show<DeveloperActionsPage>();
    EXPECT_FALSE(labelled<ConfirmingButtonView>(page, "SLEEP"));
    EXPECT_TRUE(labelled<ConfirmingButtonView>(page, "RST RADIO\nDATA"));
}

TEST_F(DeveloperPagesTest, ATallFormScrollsAndADragStartedOnASwitchMovesThePageNotTheSwitch)
{
    auto* page = show<DeveloperSettingsPage>();
    page->resize(1856, 600);
    drainEvents();
    auto* logSwitch = labelled<SlideSwitch>(page, "OFF/ON");
    auto* tapAnimation = labelled<LabelView>(page, "TAP ANIMATION:");
    ASSERT_TRUE(logSwitch && tapAnimation);
    EXPECT_GT(tapAnimation->rootGeometry().top(), page->rootGeometry().bottom()); // out of sight
    const int before = GUI_logLocationData.value();

    const QPoint from = logSwitch->rootGeometry().center();
    display.touch(int(TouchEvent::Kind::Press), from);
    for (int step = 1; step <= 20; ++step)
        display.touch(int(TouchEvent::Kind::Move), from - QPoint(0, 40 * step));
    display.touch(int(TouchEvent::Kind::Release), from - QPoint(0, 800));
    page->scroller()->stop();
    drainEvents();

    EXPECT_EQ(GUI_logLocationData.value(), before);
    EXPECT_EQ(pendingText(GUI_logLocationData), "none");
    EXPECT_LE(tapAnimation->rootGeometry().bottom(), page->rootGeometry().bottom()); // scrolled into sight
}
