#pragma once

#include "OrvaneExport.h"

#include <QString>

class ServiceCallContext;

// The car's network manager: the cellular modem and Wi-Fi. Calls return at once; the answer,
// if wanted, reaches the context later. A null context means the caller does not follow up.
class ORVANE_EXPORT NetManager {
public:
    static NetManager* proxy();

    void asyncResetModem(ServiceCallContext* context, bool noReply);
    // The reason is kept with the request ("diagnostic page request").
    void asyncResetWifi(const QString& reason, ServiceCallContext* context, bool noReply);

private:
    NetManager() = default;
};
