#include "services/NetManager.h"

#include "services/ServiceCall.h"

NetManager* NetManager::proxy()
{
    static NetManager instance;
    return &instance;
}

void NetManager::asyncResetModem(ServiceCallContext* context, bool noReply)
{
    ServiceCall::issue(QStringLiteral("NetManager"), QStringLiteral("asyncResetModem"), {}, context, noReply);
}

void NetManager::asyncResetWifi(const QString& reason, ServiceCallContext* context, bool noReply)
{
    ServiceCall::issue(QStringLiteral("NetManager"), QStringLiteral("asyncResetWifi"), {reason}, context, noReply);
}
