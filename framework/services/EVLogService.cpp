#include "services/EVLogService.h"

#include "services/ServiceCall.h"

EVLogService* EVLogService::proxy()
{
    static EVLogService instance;
    return &instance;
}

void EVLogService::clearEnergyLog(ServiceCallContext* context)
{
    ServiceCall::issue(QStringLiteral("EVLogService"), QStringLiteral("clearEnergyLog"), {}, context, false);
}
