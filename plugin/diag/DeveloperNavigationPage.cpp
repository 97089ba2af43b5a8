#include "diag/DeveloperNavigationPage.h"

#include "core/DataValues.h"
#include "services/LocationRecommendationManager.h"
#include "services/PlacesHistoryDB.h"
#include "views/ButtonView.h"
#include "views/LayoutView.h"

DeveloperNavigationPage::DeveloperNavigationPage(DisplayView* parent)
    : SettingsPage(parent, QStringLiteral("DEV NAV"))
{
}

void DeveloperNavigationPage::doPageLoad()
{
    addMainLabel(QStringLiteral("NAVIGATION SETTINGS"), true);
    addLayout(Style("Settings2ColLayout"));
    addSwitch(QStringLiteral("LOG MAP TOUCHES"), &GUI_logMapTouches);
    addSwitch(QStringLiteral("RELOAD MAP IF CONNECTED"), &GUI_reloadMapOnConnectivity);
    addSwitch(QStringLiteral("LOG LOCATION DATA"), &GUI_logLocationData);
    addSwitch(QStringLiteral("HIDE OFFLINE WARNING"), &GUI_noSearchWarning);
    addSwitch(QStringLiteral("ESTIMATE GPS LOCATION"), &GUI_smoothGPSUpdates);
    addSwitch(QStringLiteral("SORT PLACES BY DISTANCE"), &GUI_sortPlaceResultsByDistance);
    addSwitch(QStringLiteral("TOGGLE TRAFFIC"), &GUI_enableTraffic);
    addSwitch(QStringLiteral("ADAS MAP CURVATURE LOG"), &GUI_adasCurvatureLog);

    const struct {
        const char* label;
        const char* slot;
    } buttons[] = {{"RESTART NAVSERVER", SLOT(restartNavServer())},
                   {"RESET HOME/WORK", SLOT(clearHomeAndWork())},
                   {"TEST OPT HOME", SLOT(testOptimizedRouting())}};
    LayoutView* row = addRow();
    for (const auto& b : buttons) {
        auto* button = new ButtonView(row, Style("SettingsPushButton;LayoutMargin:50,0,0,0"),
                                      QString::fromLatin1(b.label));
        connect(button, SIGNAL(released(ControlBase*)), this, b.slot);
    }
}

void DeveloperNavigationPage::restartNavServer()
{
    // Intentionally does nothing: the button stays for muscle memory, the server is not ours to restart.
}

void DeveloperNavigationPage::clearHomeAndWork()
{
    PlacesHistoryDB* places = PlacesHistoryDB::instance();
    if (places->hasHome())
        places->deleteHome(true);
    if (places->hasWork())
        places->deleteWork(true);
    // Asks the system to offer learning both places again.
    GUI_shouldRecommendWork.request(true);
    GUI_shouldRecommendHome.request(true);
}

void DeveloperNavigationPage::testOptimizedRouting()
{
    LocationRecommendationManager::instance()->startOptimizedRouteRecommendation(
        LocationRecommendationManager::RecommendationHome);
}

void DeveloperNavigationPage::tick1s()
{
}
