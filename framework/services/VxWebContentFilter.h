#pragma once

#include "OrvaneExport.h"

#include <QString>

// Which edition of local web content (the owner's manual) fits this car. Safe on any thread.
class ORVANE_EXPORT VxWebContentFilter {
public:
    static VxWebContentFilter* instance();

    // The car line, "model1" to "model3" (VAPI_carType); "unknown" until the car says.
    QString product() const;
    // The market, from the locale's territory ("US" of en_US); "US" when the locale has none.
    QString country() const;
};
