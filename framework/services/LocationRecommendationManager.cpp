#include "services/LocationRecommendationManager.h"

#include "core/Logger.h"
#include "services/PlatformJournal.h"

LocationRecommendationManager* LocationRecommendationManager::instance()
{
    static LocationRecommendationManager* manager = new LocationRecommendationManager; // lives as long as the process
    return manager;
}

void LocationRecommendationManager::startOptimizedRouteRecommendation(int type)
{
    if (type != RecommendationHome && type != RecommendationWork) {
        Logger(this, "WARN") << "No optimized route for recommendation type" << type;
        return;
    }
    PlatformJournal::record(QStringLiteral("LocationRecommendationManager"), QStringLiteral("startOptimizedRouteRecommendation"),
                            {QString::number(type)});
}
