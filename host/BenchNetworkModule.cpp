#include "BenchNetworkModule.h"

#include "HostCommandListener.h"
#include "LoopbackHttpServer.h"
#include "ServiceEndpoint.h"
#include "core/Logger.h"

extern "C" __attribute__((visibility("default"))) QObject* orvaneStartBenchNetwork(const BenchNetworkSockets& sockets,
                                                                                    QObject* parent)
{
    auto* services = new QObject(parent);
    QString error;
    if (sockets.hostCommands >= 0) {
        auto* listener = new HostCommandListener(services);
        if (!listener->listen(sockets.hostCommands, &error))
            Logger(listener, "ERROR") << "cannot take over the host commands' socket:" << error
                                      << "- host commands will run but not reach the journal";
    }
    if (sockets.service >= 0) {
        LoopbackHttpServer::handOver(sockets.servicePort, sockets.service);
        auto* endpoint = new ServiceEndpoint(services);
        if (!endpoint->start(sockets.servicePort, &error))
            Logger(endpoint, "WARN") << "Service endpoint off:" << error << "- the bench runs on without it";
    }
    return services;
}
