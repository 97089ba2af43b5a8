#include "services/RadioServer.h"

#include "services/ServiceCall.h"

RadioServer* RadioServer::proxy()
{
    static RadioServer instance;
    return &instance;
}

void RadioServer::asyncFactoryReset(ServiceCallContext* context, bool noReply)
{
    ServiceCall::issue(QStringLiteral("RadioServer"), QStringLiteral("asyncFactoryReset"), {}, context, noReply);
}
