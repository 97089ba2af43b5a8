#pragma once

#include "OrvaneExport.h"

#include <QString>

// What local web content may learn about the car. Safe on any thread.
class ORVANE_EXPORT VxWebAPI {
public:
    // The car's build options (GUI_featureConfig) as compact JSON.
    static QString featureJson();
};
