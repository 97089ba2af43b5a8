#pragma once

#include "diag/DiagExport.h"
#include "views/SettingsPage.h"

class ButtonView;
class ConfirmingButtonView;

// One-press service actions: vehicle power requests, reboots and restarts of the car's
// computers and radios, the emergency-call circuit, logs, sleep and a factory reset.
class DIAG_EXPORT DeveloperActionsPage : public SettingsPage {
    Q_OBJECT
public:
    explicit DeveloperActionsPage(DisplayView* parent);

public slots:
    void vehicleStateChanged();
    void stop12VSupport();
    void factoryReset();
    void restartModem();
    void radioFactoryreset();
    void restartBluetooth();
    void rebootGateway();
    void rebootCID();
    void disarmECallCircuit();
    void armECallCircuit();
    void toggleModemAirplane();
    void restartApp();
    void nightyNight();
    void restartWifi();
    void clearVehicleLog();
    void clearChargingLocationPreferences();

protected:
    void doPageLoad() override;

private:
    ConfirmingButtonView* addConfirmingButton(DisplayView* row, const QString& label, const char* slot);

    ButtonView* mRailsOffButton = nullptr;
    ConfirmingButtonView* mStop12VButton = nullptr;
};
