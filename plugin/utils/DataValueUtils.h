#pragma once

#include "core/DataValue.h"

// Consistent reads of a data value (value, validity and request under the value's lock), as
// the pages gate and show their controls.
namespace DataValueUtils {

// True only when the car has said so: valid and true.
bool isOn(const BoolDataValue& value);
// The value, or 0 while it is not valid.
int currentInt(const IntDataValue& value);
// What was last asked for: a pending request, else the valid value; false when neither.
// Controls show this, so a request waiting for the car does not make them jump back.
bool requestedOn(const BoolDataValue& value);

} // namespace DataValueUtils
