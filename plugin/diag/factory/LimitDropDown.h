#pragma once

#include "core/DataValueBinding.h"
#include "diag/DiagExport.h"
#include "views/DropDownPicker.h"

class TableModelIndex;

// A limit chosen from "NONE" and the numbers minimum, minimum + step, ... maximum, bound to an
// integer data value in which `noneValue` means no limit. A choice is asked of the car.
class DIAG_EXPORT LimitDropDown : public DropDownPicker {
    Q_OBJECT
public:
    LimitDropDown(DisplayView* parent, IntDataValue& value, int minimum, int maximum, int step, int noneValue);

public slots:
    void limitSelected(TableModelIndex index);
    // Shows the value (or the request waiting for the car) as the nearest choice.
    void limitChanged();

private:
    DataValueBinding mBinding;
    const int mMinimum;
    const int mMaximum;
    const int mStep;
    const int mNoneValue;
};
