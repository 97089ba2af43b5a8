#include "services/WifiManager.h"

#include "core/DataValues.h"

bool WifiManager::usingWifi()
{
    DataValue::ConditionalLocker locker(LINK_linkState);
    return LINK_linkState.isValid() && LINK_linkState.value() == WifiLink;
}
