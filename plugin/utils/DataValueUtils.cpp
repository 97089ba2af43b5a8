#include "utils/DataValueUtils.h"

namespace DataValueUtils {

bool isOn(const BoolDataValue& value)
{
    DataValue::ConditionalLocker lock(value);
    return value.isValid() && value.value();
}

int currentInt(const IntDataValue& value)
{
    DataValue::ConditionalLocker lock(value);
    return value.isValid() ? value.value() : 0;
}

bool requestedOn(const BoolDataValue& value)
{
    DataValue::ConditionalLocker lock(value);
    if (value.hasPending())
        return value.pendingValue();
    return value.isValid() && value.value();
}

} // namespace DataValueUtils
