#pragma once

#include "OrvaneExport.h"

// The car's connectivity as LINK_linkState reports it.
class ORVANE_EXPORT WifiManager {
public:
    enum LinkState { NoLink = 0, CellularLink = 1, WifiLink = 2 };

    // Connected through Wi-Fi now; false while the link state is not known.
    static bool usingWifi();
};
