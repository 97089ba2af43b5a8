#pragma once

#include "OrvaneExport.h"

#include <QObject>

// Recommendations the navigation stack offers the driver (the likely destination and the best
// route to it). Requests go to the navigation stack: on the bench, into the platform journal.
class ORVANE_EXPORT LocationRecommendationManager : public QObject {
    Q_OBJECT
public:
    enum LocationRecommendationType { RecommendationNone = 0, RecommendationHome = 1, RecommendationWork = 2 };

    static LocationRecommendationManager* instance();

    // Starts working out the optimized route to the recommended place of that type.
    void startOptimizedRouteRecommendation(int type);

private:
    LocationRecommendationManager() = default;
};
