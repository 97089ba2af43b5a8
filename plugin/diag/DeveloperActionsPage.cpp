#include "diag/DeveloperActionsPage.h"

#include "core/DataValues.h"
#include "core/Logger.h"
#include "views/CenterDisplay.h"
#include "services/CenterDisplayService.h"
#include "services/DisplayStateManager.h"
#include "services/EVLogService.h"
#include "views/FactoryResetManager.h"
#include "services/HostCommand.h"
#include "services/NetManager.h"
#include "services/RadioServer.h"
#include "services/ServiceCallContext.h"
#include "services/VehicleUtils.h"
#include "views/ButtonView.h"
#include "views/ConfirmingButtonView.h"
#include "views/LabelView.h"
#include "views/LayoutView.h"

namespace {
// The framework's kind of confirming button used throughout this page.
constexpr int ActionButtonKind = 0;
}

DeveloperActionsPage::DeveloperActionsPage(DisplayView* parent)
    : SettingsPage(parent, QStringLiteral("ACTIONS"))
{
}

ConfirmingButtonView* DeveloperActionsPage::addConfirmingButton(DisplayView* row, const QString& label, const char* slot)
{
    auto* button = new ConfirmingButtonView(row, label, ActionButtonKind);
    connect(button, SIGNAL(released()), this, slot);
    return button;
}

void DeveloperActionsPage::doPageLoad()
{
    DisplayView* main = mainLayout();

    new LabelView(main, Style("SettingsMainLabel"), QStringLiteral("VEHICLE REQUESTS"));
    auto* requests = new HorizontalLayout(main, Style("SettingsHorizontalLayout"));
    new ButtonView(requests, Style("SettingsToggleButton"), QStringLiteral("IN\nSERVICE"), &GUI_serviceMode);
    mRailsOffButton = new ButtonView(requests, Style("SettingsToggleButton"), QStringLiteral("TURN\nRAILS OFF"),
                                     &GUI_powerOffRailsRequest);
    mStop12VButton = addConfirmingButton(requests, QStringLiteral("STOP 12V\nSUPPORT"), SLOT(stop12VSupport()));
    addConfirmingButton(requests, QStringLiteral("REBOOT\nGATEWAY"), SLOT(rebootGateway()));

    new LabelView(main, Style("SettingsMainLabel"), QStringLiteral("CENTER DISPLAY"));
    auto* display = new HorizontalLayout(main, Style("SettingsHorizontalLayout; FlowWidth:900"));
    addConfirmingButton(display, QStringLiteral("RESTART\nUI APP"), SLOT(restartApp()));
    addConfirmingButton(display, QStringLiteral("REBOOT\nCID"), SLOT(rebootCID()));
    addConfirmingButton(display, QStringLiteral("RESTART\nMODEM"), SLOT(restartModem()));
    addConfirmingButton(display, QStringLiteral("MODEM\nAIRPLANE"), SLOT(toggleModemAirplane()))
        ->setConfirmText(QStringLiteral("TOGGLE"));
    addConfirmingButton(display, QStringLiteral("RESTART\nWIFI"), SLOT(restartWifi()));
    addConfirmingButton(display, QStringLiteral("RESTART\nBLUETOOTH"), SLOT(restartBluetooth()));
    addConfirmingButton(display, QStringLiteral("RESET CHARGE\nLOCATIONS"), SLOT(clearChargingLocationPreferences()));
    addConfirmingButton(display, QStringLiteral("ARM ECALL\nCIRCUIT"), SLOT(armECallCircuit()));
    addConfirmingButton(display, QStringLiteral("DISARM ECALL\nCIRCUIT"), SLOT(disarmECallCircuit()));
    addConfirmingButton(display, QStringLiteral("CLEAR\nENERGY LOG"), SLOT(clearVehicleLog()));
    addConfirmingButton(display, QStringLiteral("RST RADIO\nDATA"), SLOT(radioFactoryreset()));
    bool modes;
    {
        DataValue::ConditionalLocker developer(GUI_developerMode);
        DataValue::ConditionalLocker diagnostic(GUI_diagnosticMode);
        modes = GUI_developerMode.value() || GUI_diagnosticMode.value();
    }
    if (modes)
        addConfirmingButton(display, QStringLiteral("SLEEP"), SLOT(nightyNight()));

    new LabelView(main, Style("SettingsMainLabel"), QStringLiteral("FACTORY RESET"));
    auto* reset = new HorizontalLayout(main, Style("SettingsHorizontalLayout"));
    auto* resetData = new ButtonView(reset, Style("SettingsPushButton"), QStringLiteral("RESET\nDATA"));
    connect(resetData, SIGNAL(released(ControlBase*)), this, SLOT(factoryReset()));

    dvConnect(&VAPI_towModeEnabled, SLOT(vehicleStateChanged()), false);
}

void DeveloperActionsPage::vehicleStateChanged()
{
    const bool allowed = VehicleUtils::allowPowerOff();
    mStop12VButton->enable(allowed, true);
    mRailsOffButton->enable(allowed, true);
}

void DeveloperActionsPage::stop12VSupport()
{
    GUI_powerOffRailsRequest.request(true);
    GUI_stopRailsAnd12VSupportRequest.request(true);
}

void DeveloperActionsPage::rebootGateway()
{
    Logger(this, "INFO") << "Rebooting gateway";
    HostCommand::start(QStringLiteral("emit-reboot-gateway"));
}

void DeveloperActionsPage::restartApp()
{
    Logger(this, "ERROR") << "NOTE: Restarting Orvane app manually";
    theCenterDisplay->restart(QStringLiteral("manual"));
}

void DeveloperActionsPage::rebootCID()
{
    Logger(this, "INFO") << "Rebooting center display";
    HostCommand::start(QStringLiteral("emit-reboot-cid"));
}

void DeveloperActionsPage::restartModem()
{
    Logger(this, "INFO") << "restarting modem";
    NetManager::proxy()->asyncResetModem(nullptr, false);
}

void DeveloperActionsPage::toggleModemAirplane()
{
    Logger(this, "INFO") << "toggling modem airplane mode";
    HostCommand::start(QStringLiteral("modem-airplane-toggle"));
}

void DeveloperActionsPage::restartWifi()
{
    Logger(this, "INFO") << "restarting wifi";
    NetManager::proxy()->asyncResetWifi(QStringLiteral("diagnostic page request"), nullptr, false);
}

void DeveloperActionsPage::restartBluetooth()
{
    Logger(this, "INFO") << "restarting bluetooth";
    HostCommand::start(QStringLiteral("bt-reset"));
}

void DeveloperActionsPage::clearChargingLocationPreferences()
{
    ServiceCallContext context;
    CenterDisplayService::proxy()->clearChargingLocationPreferences(&context);
    context.dispose();
}

void DeveloperActionsPage::armECallCircuit()
{
    Logger(this, "INFO") << "Arming ECall";
    HostCommand::start(QStringLiteral("arm-ecall on"));
}

void DeveloperActionsPage::disarmECallCircuit()
{
    Logger(this, "INFO") << "Disarming ECall";
    HostCommand::start(QStringLiteral("arm-ecall off"));
}

void DeveloperActionsPage::clearVehicleLog()
{
    ServiceCallContext context;
    EVLogService::proxy()->clearEnergyLog(&context);
    context.dispose();
}

void DeveloperActionsPage::radioFactoryreset()
{
    Logger(this, "INFO") << "Resetting tuner data";
    RadioServer::proxy()->asyncFactoryReset(nullptr, false);
}

void DeveloperActionsPage::nightyNight()
{
    Logger(this, "ERROR") << "NOTE: Sleeping manually";
    DisplayStateManager::instance()->requestPowerOff();
    HostCommand::start(QStringLiteral("emit-car-going-to-sleep"));
}

void DeveloperActionsPage::factoryReset()
{
    FactoryResetManager::instance()->showResetConfirmationPopup(FactoryResetManager::ResetData);
}
