#pragma once

class QObject;

// The module that holds the bench's network services (everything that needs Qt's network
// library), loaded once the first frame is out. It takes over sockets bound before it was
// loaded; -1 for a socket that is not there.
struct BenchNetworkSockets {
    int service = -1;
    int servicePort = 0;
    int hostCommands = -1;
};

// What the module exports under StartBenchNetworkSymbol: the services, owned by parent.
using StartBenchNetwork = QObject* (*)(const BenchNetworkSockets& sockets, QObject* parent);
constexpr const char* StartBenchNetworkSymbol = "orvaneStartBenchNetwork";
constexpr const char* BenchNetworkModuleName = "libOrvaneBenchNetwork.so";
