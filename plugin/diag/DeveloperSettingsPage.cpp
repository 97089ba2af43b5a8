#include "diag/DeveloperSettingsPage.h"

#include "core/DataValues.h"
#include "core/Logger.h"
#include "diag/DiagConfig.h"
#include "services/VehicleUtils.h"
#include "utils/DataValueUtils.h"
#include "views/DropDownPicker.h"
#include "views/LabelView.h"
#include "views/LayoutView.h"
#include "views/table/TableModelIndex.h"

using DataValueUtils::currentInt;
using DataValueUtils::isOn;

namespace {

// The names of a name map, in table order; the row index is the value written.
template <typename Entry>
QStringList namesOf(const Entry* map)
{
    QStringList names;
    for (const Entry* e = map; e->name && *e->name; ++e)
        names << QString::fromUtf8(e->name);
    return names;
}

// Writes a picked mode straight away, unless it is the one already requested.
void selectMode(QObject* page, IntDataValue& request, int row, const char* message)
{
    DataValue::EventLocker lock(request);
    if (request.value() == row)
        return;
    Logger(page, "INFO") << message;
    request.setValueNoLock(row);
}

} // namespace

bool DevSpeedLimitModel::isEnabled(const TableModelIndex& index)
{
    const QStringList& speeds = choices();
    if (index.row() < 0 || !isOn(GUI_isDevelopmentCar) || index.row() >= speeds.size())
        return true;
    return speeds[index.row()].toInt(nullptr, 10) >= MinSelectableSpeedLimit.value();
}

MotorModeSwitch::MotorModeSwitch(DisplayView* parent, bool large)
    : SlideSwitch(parent, large)
{
    setPositions({QStringLiteral("REAR"), QStringLiteral("FRONT"), QStringLiteral("BOTH")});
    setValueSource(&GUI_motorMode);
    dvConnect(&GUI_factoryMode, SLOT(updateSwitch()), false);
    dvConnect(&GUI_diagnosticMode, SLOT(updateSwitch()), false);
    VehicleUtils::gearConnect(this, SLOT(updateSwitch()), true);
}

void MotorModeSwitch::updateSwitch()
{
    enable(VehicleUtils::allowMotorModeSelection() && VehicleUtils::isCarParked(false), true);
}

DeveloperSettingsPage::DeveloperSettingsPage(DisplayView* parent)
    : SettingsPage(parent, QStringLiteral("SETTINGS"))
{
}

DropDownPicker* DeveloperSettingsPage::addModePicker(const QString& caption, const QStringList& names,
                                                     IntDataValue& request, const char* selectedSlot,
                                                     const char* changedSlot)
{
    // The upper clamp is the number of names, not the last row: a value past the end opens
    // the picker with nothing chosen.
    const int index = qMax(0, qMin(currentInt(request), int(names.size())));
    new LabelView(currentLayout(), Style("SettingsSubLabel"), caption);
    auto* picker = new DropDownPicker(currentLayout(), names, index, 300, 1, nullptr, nullptr);
    picker->setScrollable(true);
    picker->setMaxItemsToDisplay(10.5);
    connect(picker, SIGNAL(itemSelected(TableModelIndex)), this, selectedSlot);
    dvConnect(&request, changedSlot, false);
    return picker;
}

void DeveloperSettingsPage::doPageLoad()
{
    new LabelView(mainLayout(), Style("SettingsMainLabel"), QStringLiteral("VEHICLE SETTINGS"));
    addLayout(Style("Settings2ColLayout; Widths:300,900"));
    addSwitch(QStringLiteral("LOG LOCATION DATA"), &GUI_logLocationData);
    addSwitch(QStringLiteral("LIMIT TOP SPEED"), &GUI_enableSpeedLimitRequest);

    for (int speed = 60; speed <= 100; speed += 5)
        mSpeedChoices << QString::number(speed);
    mSpeedModel = new DevSpeedLimitModel(mSpeedChoices, this);
    new LabelView(currentLayout(), Style("SettingsSubLabel"), QStringLiteral("Speed Limit"));
    mSpeedPicker = new DropDownPicker(currentLayout(), mSpeedChoices, 0, 300, 1, mSpeedModel, nullptr);
    mSpeedPicker->setScrollable(true);
    mSpeedPicker->setMaxItemsToDisplay(10.5);
    connect(mSpeedPicker, SIGNAL(itemSelected(TableModelIndex)), this, SLOT(speedLimitSelected(TableModelIndex)));
    dvConnect(&GUI_speedLimitRequest, SLOT(speedLimitChanged()), true);
    dvConnect(&GUI_enableSpeedLimitRequest, SLOT(enableSpeedLimitChanged()), true);

    if (VehicleUtils::hasParkAssist())
        addSwitch(QStringLiteral("PARK ASSIST"), &GUI_parkAssistOnRequest);
    bool spoilerCar;
    {
        DataValue::ConditionalLocker lock(VAPI_carType);
        spoilerCar = VAPI_carType.isValid() && VAPI_carType.value() == 1;
    }
    if (spoilerCar) {
        mSpoilerSwitch = addSwitch(QStringLiteral("SPOILER"), &GUI_spoilerRequest,
                                   {QStringLiteral("Vision"), QStringLiteral("Aero"), QStringLiteral("Retract"),
                                    QStringLiteral("Auto")});
    }

    if (isOn(GUI_developerMode)) {
        addSwitch(QStringLiteral("NEVER SLEEP"), &GUI_neverSleep);
        if (VehicleUtils::isEsp2()) {
            mEspPicker = addModePicker(QStringLiteral("ESP Mode"), namesOf(EspModeRequestNameMap), GUI_espModeRequest,
                                       SLOT(espModeSelected(TableModelIndex)), SLOT(espModeRequestChanged()));
        }
        mTcPicker = addModePicker(QStringLiteral("TC Mode"), namesOf(TractionControlModeRequestNameMap),
                                  GUI_tractionControlModeRequest, SLOT(tcModeSelected(TableModelIndex)),
                                  SLOT(tcModeRequestChanged()));
        if (VehicleUtils::allowVelocorMode()) {
            mDragStripPicker = addModePicker(QStringLiteral("Drag Strip Mode"), namesOf(DragStripModeNameMap),
                                             GUI_dragStripModeRequest, SLOT(dragStripModeSelected(TableModelIndex)),
                                             SLOT(dragStripModeRequestChanged()));
            addSwitch(QStringLiteral("EggWot UI"), &GUI_eggWotMode,
                      {QStringLiteral("ON"), QStringLiteral("PREP"), QStringLiteral("OFF")});
        }
        new LabelView(mainLayout(), Style("SettingsMainLabel"), QStringLiteral("USER INTERFACE"));
        addLayout(Style("Settings2ColLayoutTall"));
        addSwitch(QStringLiteral("TAP ANIMATION:"), &GUI_tapAnimation);
    }

    VehicleUtils::gearConnect(this, SLOT(vehicleStateChanged()), true, false);
    dvConnect(&VAPI_driveRailOn, SLOT(vehicleStateChanged()), true);
}

void DeveloperSettingsPage::vehicleStateChanged()
{
    if (mEspPicker)
        mEspPicker->enable(isOn(VAPI_driveRailOn), true);
    if (mSpoilerSwitch)
        mSpoilerSwitch->enable(VehicleUtils::isCarParked(false), true);
}

void DeveloperSettingsPage::enableSpeedLimitChanged()
{
    mSpeedPicker->enable(isOn(GUI_enableSpeedLimitRequest), true);
}

void DeveloperSettingsPage::speedLimitChanged()
{
    // Left empty on purpose: the picker shows what was chosen here, not later changes made
    // elsewhere.
}

void DeveloperSettingsPage::speedLimitSelected(TableModelIndex index)
{
    GUI_speedLimitRequest.request(mSpeedChoices.value(index.row()).toDouble());
}

void DeveloperSettingsPage::espModeSelected(TableModelIndex index)
{
    selectMode(this, GUI_espModeRequest, index.row(), "user changed esp mode request");
}

void DeveloperSettingsPage::tcModeSelected(TableModelIndex index)
{
    selectMode(this, GUI_tractionControlModeRequest, index.row(), "user changed tc mode request");
}

void DeveloperSettingsPage::dragStripModeSelected(TableModelIndex index)
{
    selectMode(this, GUI_dragStripModeRequest, index.row(), "user changed drag mode request");
}

void DeveloperSettingsPage::espModeRequestChanged()
{
    if (mEspPicker)
        mEspPicker->setChoiceIndex(currentInt(GUI_espModeRequest));
}

void DeveloperSettingsPage::tcModeRequestChanged()
{
    if (mTcPicker)
        mTcPicker->setChoiceIndex(currentInt(GUI_tractionControlModeRequest));
}

void DeveloperSettingsPage::dragStripModeRequestChanged()
{
    if (mDragStripPicker)
        mDragStripPicker->setChoiceIndex(currentInt(GUI_dragStripModeRequest));
}
