#include "services/CenterDisplayService.h"

#include "services/ServiceCall.h"

CenterDisplayService* CenterDisplayService::proxy()
{
    static CenterDisplayService instance;
    return &instance;
}

void CenterDisplayService::clearChargingLocationPreferences(ServiceCallContext* context)
{
    ServiceCall::issue(QStringLiteral("CenterDisplayService"), QStringLiteral("clearChargingLocationPreferences"), {},
                       context, false);
}
