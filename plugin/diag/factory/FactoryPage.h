#pragma once

#include "diag/DiagExport.h"
#include "views/SettingsPage.h"

class AppInfo;
class ButtonView;
class ConfirmingButtonView;
class FactoryModeSlider;
class LabelView;
class LimitDropDown;
class QTimer;
class SlideSwitch;

// The production line's page: factory, transport and trial-car modes, end-of-line actions, the
// factory power and torque limits, and driving to the next factory target. Every action is a
// data-value write or a host command; the page remembers only what the car cannot tell it.
class DIAG_EXPORT FactoryPage : public SettingsPage {
    Q_OBJECT
public:
    FactoryPage(DisplayView* parent, AppInfo* appInfo);

    // Beats every 500 ms while driving to the target is requested.
    QTimer* heartbeatTimer() const { return mHeartbeat; }

public slots:
    void factoryModeSwitched(int position);
    void factoryModeChangeConfirmed(bool yes);
    void transportModeConfirmed(bool yes);
    void trialModeSwitched(int position);
    void resetAllData();
    void speakerTest();
    void calibrateSpoiler();
    void confirmSpoilerCalibration(bool yes);
    void overrideFactoryLimits();
    void updateControls();
    void factoryKestroChanged();
    void factoryKestroStatusChanged();
    void factoryKestroHeartbeat();

protected:
    void doPageLoad() override;

private:
    // A row headed by a label in the left column.
    LayoutView* addLabelledRow(const QString& label, const QString& rowStyle = QStringLiteral("SettingsHorizontalLayout"));
    void addFactoryKestro();

    FactoryModeSlider* mModeSlider = nullptr;
    ButtonView* mSleepTestButton = nullptr;
    SlideSwitch* mTrialSwitch = nullptr;
    ButtonView* mSeatInstallButton = nullptr;
    ButtonView* mSpoilerCalibrateButton = nullptr;
    ConfirmingButtonView* mOverrideButton = nullptr;
    LimitDropDown* mPowerLimit = nullptr;
    LimitDropDown* mTorqueLimit = nullptr;
    ButtonView* mKestroButton = nullptr;
    LabelView* mKestroStatus = nullptr;
    QTimer* mHeartbeat = nullptr;

    // Whether a factory-mode change asked for from the transport position goes on to transport.
    bool mPendingTransport = false;
    // The car does not report the speaker test: this is the only memory of it.
    bool mSpeakerTestRunning = false;
};
