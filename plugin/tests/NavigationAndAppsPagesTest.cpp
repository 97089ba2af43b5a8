// The DEV NAV and APPS pages: real touches on a display, a real places database in a scratch
// data folder, and the platform journal as the car's navigation stack and app launcher.
#include "core/DataValues.h"
#include "diag/DeveloperAppsPage.h"
#include "diag/DeveloperNavigationPage.h"
#include "services/PlacesHistoryDB.h"
#include "services/StorageUtils.h"
#include "views/AppChooser.h"
#include "views/ButtonView.h"
#include "views/LabelView.h"
#include "views/SlideSwitch.h"
#include "views/table/ListView.h"
#include "views/table/TableCell.h"
#include "PageFixture.h"

#include <QFile>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

class NavigationAndAppsPagesTest : public PageFixture {
protected:
    NavigationAndAppsPagesTest()
    {
        QString error;
        EXPECT_TRUE(StorageUtils::setDataFolder(dir.path(), &error)) << error.toStdString();
        for (BoolDataValue* flag : {&GUI_shouldRecommendHome, &GUI_shouldRecommendWork})
            carHas(*flag, "false");
    }

    // Home and work rows as the database file holds them, read without the framework.
    QStringList storedKinds()
    {
        QStringList kinds;
        {
            QSqlDatabase db = QSqlDatabase::addDatabase("QSQLITE", "check");
            db.setDatabaseName(dir.filePath("places.sqlite"));
            EXPECT_TRUE(db.open());
            QSqlQuery query("SELECT kind FROM places ORDER BY kind", db);
            while (query.next())
                kinds << query.value(0).toString();
        }
        QSqlDatabase::removeDatabase("check");
        return kinds;
    }

    QTemporaryDir dir;
};

} // namespace

TEST_F(NavigationAndAppsPagesTest, NavigationPageHasEightSwitchesInOrderEachBoundToItsValue)
{
    auto* page = show<DeveloperNavigationPage>();
    const QList<QPair<QString, DataValue*>> rows = {{"LOG MAP TOUCHES", &GUI_logMapTouches},
                                                     {"RELOAD MAP IF CONNECTED", &GUI_reloadMapOnConnectivity},
                                                     {"LOG LOCATION DATA", &GUI_logLocationData},
                                                     {"HIDE OFFLINE WARNING", &GUI_noSearchWarning},
                                                     {"ESTIMATE GPS LOCATION", &GUI_smoothGPSUpdates},
                                                     {"SORT PLACES BY DISTANCE", &GUI_sortPlaceResultsByDistance},
                                                     {"TOGGLE TRAFFIC", &GUI_enableTraffic},
                                                     {"ADAS MAP CURVATURE LOG", &GUI_adasCurvatureLog}};
    const QList<SlideSwitch*> switches = page->findChildren<SlideSwitch*>();
    ASSERT_EQ(switches.size(), rows.size());
    int previousY = -1;
    for (const auto& row : rows) {
        LabelView* label = labelled<LabelView>(page, row.first);
        ASSERT_TRUE(label) << row.first.toStdString();
        EXPECT_GT(label->rootGeometry().y(), previousY) << row.first.toStdString() << " is out of order";
        previousY = label->rootGeometry().y();
        // The switch beside the label is bound to the row's value.
        SlideSwitch* beside = nullptr;
        for (SlideSwitch* s : switches) {
            if (qAbs(s->rootGeometry().center().y() - label->rootGeometry().center().y()) < 10)
                beside = s;
        }
        ASSERT_TRUE(beside) << row.first.toStdString();
        EXPECT_EQ(beside->valueSource(), row.second) << row.first.toStdString();
    }
}

TEST_F(NavigationAndAppsPagesTest, ResetHomeWorkDeletesWhatIsStoredAndAsksToLearnBothAgain)
{
    PlacesHistoryDB* places = PlacesHistoryDB::instance();
    ASSERT_TRUE(places->setPlace(PlacesHistoryDB::Kind::Home, {"Home", "1 Elm St", 52.1, 4.3}));
    ASSERT_TRUE(places->setPlace(PlacesHistoryDB::Kind::Work, {"Work", "9 Dock Rd", 52.2, 4.4}));
    EXPECT_EQ(storedKinds(), QStringList({"home", "work"}));

    auto* page = show<DeveloperNavigationPage>();
    tap(labelled<ButtonView>(page, "RESET HOME/WORK"));
    EXPECT_EQ(storedKinds(), QStringList());
    EXPECT_FALSE(places->hasHome());
    EXPECT_FALSE(places->hasWork());
    EXPECT_TRUE(PlatformJournal::instance()->contains("PlacesHistoryDB.deleteHome(true)"));
    EXPECT_TRUE(PlatformJournal::instance()->contains("PlacesHistoryDB.deleteWork(true)"));
    EXPECT_EQ(pendingText(GUI_shouldRecommendHome), "true");
    EXPECT_EQ(pendingText(GUI_shouldRecommendWork), "true");
    EXPECT_FALSE(GUI_shouldRecommendHome.value()) << "the car takes the request, not the page";

    // Nothing stored: nothing deleted, both flags still requested.
    PlatformJournal::instance()->clear();
    for (BoolDataValue* flag : {&GUI_shouldRecommendHome, &GUI_shouldRecommendWork})
        carHas(*flag, "false");
    tap(labelled<ButtonView>(page, "RESET HOME/WORK"));
    EXPECT_TRUE(PlatformJournal::instance()->lines().isEmpty()) << PlatformJournal::instance()->lines().join(", ").toStdString();
    EXPECT_EQ(pendingText(GUI_shouldRecommendHome), "true");
    EXPECT_EQ(pendingText(GUI_shouldRecommendWork), "true");

    // Only home stored, and the car already recommends work: work's stale request is withdrawn.
    ASSERT_TRUE(places->setPlace(PlacesHistoryDB::Kind::Home, {"Home", "1 Elm St", 52.1, 4.3}));
    GUI_shouldRecommendWork.setValue(true);
    PlatformJournal::instance()->clear();
    tap(labelled<ButtonView>(page, "RESET HOME/WORK"));
    EXPECT_EQ(PlatformJournal::instance()->lines(), QStringList({"PlacesHistoryDB.deleteHome(true)"}));
    EXPECT_EQ(pendingText(GUI_shouldRecommendWork), "none");
    EXPECT_TRUE(GUI_shouldRecommendWork.value());
    EXPECT_EQ(pendingText(GUI_shouldRecommendHome), "true");
}

TEST_F(NavigationAndAppsPagesTest, RestartNavServerDoesNothingAndTestOptHomeAsksForTheHomeRoute)
{
    ASSERT_TRUE(PlacesHistoryDB::instance()->setPlace(PlacesHistoryDB::Kind::Home, {"Home", "1 Elm St", 52.1, 4.3}));
    auto* page = show<DeveloperNavigationPage>();
    QStringList before;
    for (DataValue* value : DataValueRegistry::all())
        before << value->name() + "=" + value->toDisplayString();

    tap(labelled<ButtonView>(page, "RESTART NAVSERVER"));
    QStringList after;
    for (DataValue* value : DataValueRegistry::all())
        after << value->name() + "=" + value->toDisplayString();
    EXPECT_EQ(after, before);
    EXPECT_TRUE(PlatformJournal::instance()->lines().isEmpty());
    EXPECT_EQ(storedKinds(), QStringList({"home"}));

    tap(labelled<ButtonView>(page, "TEST OPT HOME"));
    EXPECT_EQ(PlatformJournal::instance()->lines(),
              QStringList({"LocationRecommendationManager.startOptimizedRouteRecommendation(1)"}));
}

TEST_F(NavigationAndAppsPagesTest, PlacesSurviveReopeningAndAnUnusableFolderIsLoggedNotFatal)
{
    PlacesHistoryDB* places = PlacesHistoryDB::instance();
    ASSERT_TRUE(places->setPlace(PlacesHistoryDB::Kind::Work, {"Work", "9 Dock Rd", 52.25, 4.5}));
    ASSERT_TRUE(places->setPlace(PlacesHistoryDB::Kind::Work, {"New work", "1 Quay", 51.0, 3.0}));
    PlacesHistoryDB::Place work;
    ASSERT_TRUE(places->place(PlacesHistoryDB::Kind::Work, &work));
    EXPECT_EQ(work.name, "New work");
    EXPECT_EQ(work.latitude, 51.0);
    EXPECT_EQ(storedKinds(), QStringList({"work"}));

    // Another data folder has its own places.
    QTemporaryDir other;
    QString error;
    ASSERT_TRUE(StorageUtils::setDataFolder(other.path(), &error));
    EXPECT_FALSE(places->hasWork());

    // A database file that is not one: every call fails, logged, and nothing throws.
    QFile junk(other.filePath("places.sqlite"));
    ASSERT_TRUE(junk.open(QIODevice::WriteOnly));
    junk.write(QByteArray(4096, 'x'));
    junk.close();
    ASSERT_TRUE(StorageUtils::setDataFolder(dir.path(), &error));
    ASSERT_TRUE(StorageUtils::setDataFolder(other.path(), &error));
    EXPECT_FALSE(places->setPlace(PlacesHistoryDB::Kind::Home, {"Home", "", 0, 0}));
    EXPECT_FALSE(places->hasHome());
    EXPECT_FALSE(places->deleteHome(true));
    ASSERT_TRUE(StorageUtils::setDataFolder(dir.path(), &error));
    EXPECT_TRUE(places->hasWork());
}

TEST_F(NavigationAndAppsPagesTest, AppsPageListsTheHostsAppsAndOpensTheChosenOne)
{
    QStringList opened;
    AppChooser::registerApp("Alpha Screen", [&] { opened << "alpha"; });
    AppChooser::registerApp("Beta Screen", [&] { opened << "beta"; });
    AppChooser::registerApp("Alpha Screen", [&] { opened << "alpha again"; }); // replaces, keeps its place

    auto* page = show<DeveloperAppsPage>();
    auto* list = page->findChild<ListView*>();
    ASSERT_TRUE(list);
    EXPECT_EQ(list->items(), AppChooser::appNames());
    EXPECT_EQ(list->items().indexOf("Alpha Screen") + 1, list->items().indexOf("Beta Screen"));
    TableCell* beta = nullptr;
    for (TableCell* cell : list->visibleCells()) {
        if (cell->describe() == "Beta Screen")
            beta = cell;
    }
    ASSERT_TRUE(beta);

    tap(beta);
    EXPECT_EQ(opened, QStringList({"beta"}));
    EXPECT_TRUE(PlatformJournal::instance()->contains("AppChooser.openApp(Beta Screen)"));
}
