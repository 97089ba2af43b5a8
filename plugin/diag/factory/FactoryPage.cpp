#include "diag/factory/FactoryPage.h"

#include "core/DataValues.h"
#include "core/Logger.h"
#include "diag/DeveloperSettingsPage.h"
#include "diag/factory/FactoryModeSlider.h"
#include "diag/factory/LimitDropDown.h"
#include "views/CenterDisplay.h"
#include "views/FactoryResetManager.h"
#include "services/HostCommand.h"
#include "services/VehicleUtils.h"
#include "utils/DataValueUtils.h"
#include "views/ButtonView.h"
#include "views/ConfirmingButtonView.h"
#include "views/LabelView.h"
#include "views/LayoutView.h"
#include "views/popup/ConfirmationPopup.h"

#include <QLocale>
#include <QTimer>

#include <optional>

using DataValueUtils::currentInt;
using DataValueUtils::isOn;
using DataValueUtils::requestedOn;

namespace {

constexpr int RowLabelWidth = 300;
// Rows of buttons stand under the controls of the labelled rows, clear of the label column.
const QString ButtonRowStyle = QStringLiteral("SettingsHorizontalLayout; LayoutMargin:320,0,0,0");
constexpr int HeartbeatMs = 500;
constexpr int KestroStatusWidth = 600;
// The car line whose drive rails go off as it leaves factory mode.
constexpr int RailsOffCarType = 3;
// The one car line without a seat install at the end of the line.
constexpr int NoSeatInstallCarType = 1;

enum KestroStatus { KestroDriving = 1, KestroReady = 2 };

QString kestroStatusText(int status)
{
    switch (status) {
    case 3: return QStringLiteral("No QR code detected");
    case 4: return QStringLiteral("Too far from next target.");
    case 5: return QStringLiteral("No GPS signal");
    case 6: return QStringLiteral("Can't determine vehicle speed");
    case 7: return QStringLiteral("Can't determine heading");
    case 8: return QStringLiteral("Last instruction completed");
    default: return QString();
    }
}

// The car line, once the car has said.
std::optional<int> carType()
{
    DataValue::ConditionalLocker lock(VAPI_carType);
    return VAPI_carType.isValid() ? std::optional<int>(VAPI_carType.value()) : std::nullopt;
}

} // namespace

FactoryPage::FactoryPage(DisplayView* parent, AppInfo*)
    : SettingsPage(parent, QStringLiteral("FACTORY"))
    , mHeartbeat(new QTimer(this))
{
    mHeartbeat->setInterval(HeartbeatMs);
    // A coarse timer may be 5 % (25 ms) late on every beat; the car expects them on time.
    mHeartbeat->setTimerType(Qt::PreciseTimer);
    connect(mHeartbeat, SIGNAL(timeout()), this, SLOT(factoryKestroHeartbeat()));
}

LayoutView* FactoryPage::addLabelledRow(const QString& label, const QString& rowStyle)
{
    LayoutView* row = addRow(rowStyle);
    auto* caption = new LabelView(row, Style("SettingsMainLabel"), label);
    caption->setAlignment(Qt::AlignCenter);
    caption->resize(RowLabelWidth, caption->height());
    return row;
}

void FactoryPage::doPageLoad()
{
    mModeSlider = new FactoryModeSlider(addLabelledRow(QStringLiteral("FACTORY\nMODE")),
                                        {QStringLiteral("OFF"), QStringLiteral("FACTORY"), QStringLiteral("TRANSPORT")});
    connect(mModeSlider, SIGNAL(positionChanged(int)), this, SLOT(factoryModeSwitched(int)));

    LayoutView* tests = addRow(ButtonRowStyle);
    auto* reset = new ButtonView(tests, Style("SettingsPushButton"), QStringLiteral("RESET\nALL DATA"));
    connect(reset, SIGNAL(released(ControlBase*)), this, SLOT(resetAllData()));
    auto* speaker = new ButtonView(tests, Style("SettingsPushButton"), QStringLiteral("SPEAKER\nTEST"));
    connect(speaker, SIGNAL(released(ControlBase*)), this, SLOT(speakerTest()));
    mSleepTestButton = new ButtonView(tests, Style("SettingsToggleButton"), QStringLiteral("SLEEP\nTEST"),
                                      &GUI_transportModeSleepTestRequest);

    mTrialSwitch = new SlideSwitch(addLabelledRow(QStringLiteral("TRIAL\nCAR")));
    mTrialSwitch->setPosition(isOn(GUI_trialCar) ? 1 : 0);
    connect(mTrialSwitch, SIGNAL(positionChanged(int)), this, SLOT(trialModeSwitched(int)));

    if (VehicleUtils::isFourWheelDrive())
        new MotorModeSwitch(addLabelledRow(QStringLiteral("MOTOR\nSELECTION"),
                                           QStringLiteral("SettingsHorizontalLayout; FlowWidth:930")),
                            false);

    LayoutView* endOfLine = addRow(ButtonRowStyle);
    const std::optional<int> type = carType();
    if (type && *type != NoSeatInstallCarType)
        mSeatInstallButton = new ButtonView(endOfLine, Style("SettingsToggleButton"), QStringLiteral("SEAT\nINSTALL"),
                                            &GUI_seatInstallRequest);
    if (VehicleUtils::hasActiveSpoiler()) {
        GUI_spoilerCalibrationRequest.startLogging();
        mSpoilerCalibrateButton = new ButtonView(endOfLine, Style("SettingsPushButton"), QStringLiteral("SPOILER\nCALIBRATE"));
        connect(mSpoilerCalibrateButton, SIGNAL(released(ControlBase*)), this, SLOT(calibrateSpoiler()));
    }
    mOverrideButton = new ConfirmingButtonView(endOfLine, QStringLiteral("OVERRIDE\nFACTORY LIMITS"));
    connect(mOverrideButton, SIGNAL(released()), this, SLOT(overrideFactoryLimits()));

    mPowerLimit = new LimitDropDown(addLabelledRow(QStringLiteral("POWER\nLIMIT (kW)")), GUI_powerLimitRequest, 20, 200, 20, 31);
    mTorqueLimit =
        new LimitDropDown(addLabelledRow(QStringLiteral("TORQUE\nLIMIT (Nm)")), GUI_torqueLimitRequest, 4000, 6500, 500, 63);

    addFactoryKestro();

    VehicleUtils::gearConnect(this, SLOT(updateControls()), false);
    for (DataValue* value : std::initializer_list<DataValue*>{&GUI_factoryMode, &GUI_transportMode, &GUI_featureConfig,
                                                               &GUI_factoryModeLimitOverride})
        dvConnect(value, SLOT(updateControls()), false);
    updateControls();
}

void FactoryPage::addFactoryKestro()
{
    addMainLabel(QStringLiteral("FACTORY KESTRO"), true);
    LayoutView* row = addRow(ButtonRowStyle);
    mKestroButton = new ButtonView(row, Style("SettingsPushButton"), QStringLiteral("START"), &GUI_factoryKestro);
    // START and STOP are the two faces of one request: a press writes its inverse.
    mKestroButton->setToggle(true);
    mKestroStatus = new LabelView(row, Style("SettingsSubLabel"), QString());
    // Level with the button, wide enough for the longest status.
    mKestroStatus->resize(KestroStatusWidth, mKestroButton->height());

    dvConnect(&GUI_factoryKestro, SLOT(factoryKestroChanged()), true);
    dvConnect(&DAS_factoryKestroStatus, SLOT(factoryKestroStatusChanged()), true);
    // Leaving factory mode ends the request as a status other than driving or ready does.
    dvConnect(&GUI_factoryMode, SLOT(factoryKestroStatusChanged()), false);
}

// The slider and the questions compare with what was last asked for, so a request still
// waiting for the car counts; what the page allows follows the modes the car is in.
void FactoryPage::factoryModeSwitched(int position)
{
    const bool factory = position == FactoryModeSlider::FactoryPosition;
    const bool transport = position == FactoryModeSlider::TransportPosition;
    const bool inFactory = requestedOn(GUI_factoryMode);
    const bool inTransport = requestedOn(GUI_transportMode);
    bool english;
    {
        DataValue::ConditionalLocker lock(GUI_language);
        english = GUI_language.isValid() && GUI_language.value() == QLocale::English;
    }

    if (factory != inFactory && !english) {
        mPendingTransport = transport;
        ConfirmationPopup::ask(tr("FACTORY MODE"),
                               tr("%1 factory mode requires a UI restart to change the language.")
                                   .arg(inFactory ? tr("Disabling") : tr("Enabling")),
                               tr("CANCEL"), tr("OK"), this, SLOT(factoryModeChangeConfirmed(bool)));
        return;
    }
    if (transport != inTransport) {
        ConfirmationPopup* question = theCenterDisplay->toggleTransportMode();
        connect(question, SIGNAL(answered(bool)), this, SLOT(transportModeConfirmed(bool)));
        return;
    }
    if (factory == inFactory)
        return;
    if (factory) {
        factoryModeChangeConfirmed(true);
        return;
    }
    ConfirmationPopup::ask(tr("FACTORY MODE"), tr("Are you sure you want to exit factory mode?"), tr("NO"), tr("YES"), this,
                           SLOT(factoryModeChangeConfirmed(bool)));
}

void FactoryPage::factoryModeChangeConfirmed(bool yes)
{
    if (yes) {
        const bool factory = mModeSlider->position() == FactoryModeSlider::FactoryPosition;
        if (!factory && requestedOn(GUI_factoryMode) && carType() == RailsOffCarType) {
            Logger(this, "INFO") << "exiting factory mode, turn rails off";
            GUI_powerOffRailsRequest.request(true);
        }
        GUI_factoryMode.request(factory);
        if (mPendingTransport)
            GUI_transportMode.request(true);
    } else {
        updateControls();
    }
    mPendingTransport = false;
}

void FactoryPage::transportModeConfirmed(bool yes)
{
    // On yes the host changes GUI_transportMode, which brings the controls up to date.
    if (!yes)
        updateControls();
}

void FactoryPage::trialModeSwitched(int position)
{
    GUI_trialCar.request(position == 1);
}

void FactoryPage::resetAllData()
{
    FactoryResetManager::instance()->showResetConfirmationPopup(FactoryResetManager::EraseAllData);
}

void FactoryPage::speakerTest()
{
    HostCommand::start(mSpeakerTestRunning ? QStringLiteral("emit-stop-factory-speaker-test")
                                           : QStringLiteral("emit-start-factory-speaker-test"));
    mSpeakerTestRunning = !mSpeakerTestRunning;
}

void FactoryPage::calibrateSpoiler()
{
    ConfirmationPopup::ask(tr("CALIBRATE SPOILER"), tr("Calibrating the spoiler takes up to 90 seconds. Are you sure?"),
                           tr("NO"), tr("YES"), this, SLOT(confirmSpoilerCalibration(bool)));
}

void FactoryPage::confirmSpoilerCalibration(bool yes)
{
    if (yes)
        GUI_spoilerCalibrationRequest.request(true);
}

void FactoryPage::overrideFactoryLimits()
{
    // Cleared by the car when the override ends; there is no way back from here.
    GUI_factoryModeLimitOverride.request(true);
}

void FactoryPage::updateControls()
{
    const bool parked = VehicleUtils::isCarParked(true);
    const bool factory = isOn(GUI_factoryMode);
    const bool overridden = isOn(GUI_factoryModeLimitOverride);

    mModeSlider->updatePosition();
    mModeSlider->enable(parked, true);
    mOverrideButton->enable(parked && factory && !overridden, true);
    mPowerLimit->enable(overridden, true);
    mTorqueLimit->enable(overridden, true);
    if (mSeatInstallButton)
        mSeatInstallButton->show(factory);
    if (mSpoilerCalibrateButton)
        mSpoilerCalibrateButton->show(factory);
    mSleepTestButton->enable(factory, true);
    mTrialSwitch->enable(factory, true);
}

void FactoryPage::factoryKestroChanged()
{
    if (!isOn(GUI_factoryKestro))
        mHeartbeat->stop();
    else if (!mHeartbeat->isActive()) // a change of validity or request only must not shift the beat
        mHeartbeat->start();
}

void FactoryPage::factoryKestroHeartbeat()
{
    DataValue::EventLocker lock(GUI_factoryKestroHeartbeat);
    GUI_factoryKestroHeartbeat.setValueNoLock(GUI_factoryKestroHeartbeat.value() + 1);
}

void FactoryPage::factoryKestroStatusChanged()
{
    const int status = currentInt(DAS_factoryKestroStatus);
    if (isOn(GUI_factoryMode) && (status == KestroDriving || status == KestroReady)) {
        mKestroButton->enable(true, true);
        mKestroStatus->setText(QString());
        mKestroButton->setLabel(status == KestroDriving ? QStringLiteral("STOP") : QStringLiteral("START"));
        return;
    }
    mKestroButton->enable(false, true);
    {
        // Ends the request, and with it the heartbeat.
        DataValue::EventLocker lock(GUI_factoryKestro);
        GUI_factoryKestro.revertPendingNoLock();
        GUI_factoryKestro.setValueNoLock(false);
    }
    mKestroStatus->setText(kestroStatusText(status));
    mKestroButton->setLabel(QStringLiteral("START"));
}
