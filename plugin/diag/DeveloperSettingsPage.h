#pragma once

#include "diag/DiagExport.h"
#include "views/DropDownPickerStringTableModel.h"
#include "views/SettingsPage.h"
#include "views/SlideSwitch.h"

class DropDownPicker;
class TableModelIndex;

// The speed picker's choices: on development cars the speeds under the configured minimum
// are greyed out.
class DIAG_EXPORT DevSpeedLimitModel : public DropDownPickerStringTableModel {
    Q_OBJECT
public:
    using DropDownPickerStringTableModel::DropDownPickerStringTableModel;
    bool isEnabled(const TableModelIndex& index) override;
};

// Rear, front or both drive motors; selectable only while the car allows it and is parked.
class DIAG_EXPORT MotorModeSwitch : public SlideSwitch {
    Q_OBJECT
public:
    MotorModeSwitch(DisplayView* parent, bool large);

public slots:
    void updateSwitch();
};

// Vehicle and UI requests the normal settings screens hide.
class DIAG_EXPORT DeveloperSettingsPage : public SettingsPage {
    Q_OBJECT
public:
    explicit DeveloperSettingsPage(DisplayView* parent);

public slots:
    void speedLimitSelected(TableModelIndex index);
    void speedLimitChanged();
    void enableSpeedLimitChanged();
    void vehicleStateChanged();
    void espModeSelected(TableModelIndex index);
    void espModeRequestChanged();
    void tcModeSelected(TableModelIndex index);
    void tcModeRequestChanged();
    void dragStripModeSelected(TableModelIndex index);
    void dragStripModeRequestChanged();

protected:
    void doPageLoad() override;

private:
    // A captioned picker over a mode name map, opened at the clamped current value.
    DropDownPicker* addModePicker(const QString& caption, const QStringList& names, IntDataValue& request,
                                  const char* selectedSlot, const char* changedSlot);

    QStringList mSpeedChoices;
    DevSpeedLimitModel* mSpeedModel = nullptr;
    DropDownPicker* mSpeedPicker = nullptr;
    DropDownPicker* mEspPicker = nullptr;
    DropDownPicker* mTcPicker = nullptr;
    DropDownPicker* mDragStripPicker = nullptr;
    SlideSwitch* mSpoilerSwitch = nullptr;
};
