#include "ShellFixture.h"

#include "can/CANDataManager.h"
#include "core/Logger.h"
#include "diag/DiagConfig.h"
#include "diag/can/CANView.h"
#include "diag/can/CANViewTableModel.h"
#include "diag/can/DiagCANPage.h"
#include "diag/factory/FactoryPage.h"
#include "display/DisplayDevice.h"
#include "views/CenterDisplay.h"
#include "views/ButtonView.h"
#include "views/LabelView.h"

#include <QFile>

namespace {
const QString Hint = QStringLiteral("Enable Developer or Diagnostic Mode to access Diagnostic Tools");
const QString ServiceToggle = QStringLiteral("IN\nSERVICE");
const QString ExitDeveloper = QStringLiteral("EXIT DEVELOPER MODE AND RESTART");
const QString ExitDiagnostic = QStringLiteral("EXIT DIAGNOSTIC MODE AND RESTART");
} // namespace

TEST_F(ShellTest, DeveloperModeBuildsEveryTabInOrder)
{
    setModes(true, true);
    load();
    EXPECT_EQ(diagAssetsPath, "/opt/orvane/plugins/diag/assets");
    EXPECT_EQ(diagAppInfo(), app.get());
    EXPECT_EQ(titles(), QStringList({"DATA", "CAN", "FACTORY", "DRAVIK", "KAVRO", "SETTINGS", "ACTIONS", "APPS", "FONTS"}));
    EXPECT_EQ(currentTitle(), "DATA");
    EXPECT_TRUE(shell->isVisible());
    EXPECT_EQ(shell->hintLabel(), nullptr);
    ASSERT_NE(shell->exitButton(), nullptr);
    EXPECT_EQ(shell->exitButton()->label(), ExitDeveloper); // developer wins when both are on
    EXPECT_TRUE(shell->canPage()->showAll());
    EXPECT_EQ(shell->exitButton()->parentView(), window->barView());
    // Diagnostic mode was on at construction, so the service toggle exists too.
    EXPECT_EQ(countLabelled(window->barView(), ServiceToggle), 1);
}

TEST_F(ShellTest, StartingWithBothModesOffHidesBehindTheHintAndLeavesOutWhatOnlyAStartInAModeBuilds)
{
    load();
    EXPECT_FALSE(shell->isVisible());
    ASSERT_NE(shell->hintLabel(), nullptr);
    LabelView* hint = shell->hintLabel();
    EXPECT_EQ(hint->text(), Hint);
    EXPECT_EQ(hint->parentView(), window.get());
    EXPECT_FALSE(shell->exitButton()->isVisible());
    EXPECT_EQ(shell->canPage(), nullptr);
    EXPECT_EQ(shell->factoryPage(), nullptr);
    EXPECT_EQ(titles(), QStringList({"DATA", "DRAVIK", "KAVRO", "SETTINGS", "ACTIONS", "APPS"}));
    EXPECT_EQ(countLabelled(window->barView(), ServiceToggle), 0);

    // FONTS and the service toggle are decided at construction, and stay so.
    setModes(true, true);
    EXPECT_EQ(titles().count("FONTS"), 0);
    EXPECT_EQ(countLabelled(window->barView(), ServiceToggle), 0);
    EXPECT_EQ(titles().size(), 8);
}

TEST_F(ShellTest, DroppingToDiagnosticOnlyRemovesFactoryKeepsCanAndGoesToFirstTab)
{
    setModes(true, false);
    load();
    shell->pageView()->selectPage(shell->pageView()->findPage("SETTINGS"));
    DiagCANPage* can = shell->canPage();
    GUI_diagnosticMode.setValue(true);
    GUI_developerMode.setValue(false);
    EXPECT_EQ(titles(), QStringList({"DATA", "CAN", "DRAVIK", "KAVRO", "SETTINGS", "ACTIONS", "APPS", "FONTS"}));
    EXPECT_EQ(shell->factoryPage(), nullptr);
    EXPECT_EQ(shell->canPage(), can);
    EXPECT_TRUE(can->showAll()); // the page is never rebuilt
    EXPECT_EQ(currentTitle(), "DATA");
    EXPECT_EQ(shell->exitButton()->label(), ExitDiagnostic);

    // And back: the factory page returns as the third tab.
    GUI_developerMode.setValue(true);
    EXPECT_EQ(titles().mid(0, 3), QStringList({"DATA", "CAN", "FACTORY"}));
    EXPECT_EQ(shell->exitButton()->label(), ExitDeveloper);
}

TEST_F(ShellTest, TogglingModesNeverDuplicatesHintOrPages)
{
    setModes(true, false);
    load();
    for (int i = 0; i < 4; ++i) {
        setModes(false, false);
        setModes(false, false); // no change: still one hint
        EXPECT_EQ(countLabelled(window.get(), Hint), 1);
        setModes(true, false);
        drainEvents(); // the old hint goes with deleteLater
        EXPECT_EQ(countLabelled(window.get(), Hint), 0);
    }
    EXPECT_EQ(titles().count("CAN"), 1);
    EXPECT_EQ(titles().count("FACTORY"), 1);
    EXPECT_EQ(titles().size(), 9);
    setModes(false, false);
    // Hiding leaves the pages as they are.
    EXPECT_NE(shell->factoryPage(), nullptr);
    EXPECT_FALSE(shell->exitButton()->isVisible());
}

TEST_F(ShellTest, DiagnosticModeAtStartAddsServiceToggleAndAFilteredCanPageThatStartsEmpty)
{
    ASSERT_TRUE(CANDataManager::loadCatalogue({ORVANE_TEST_SOURCE_DIR "/assets/can/sample.dbc"}));
    QFile saved(dataDir.filePath("canViewer.txt"));
    ASSERT_TRUE(saved.open(QIODevice::WriteOnly));
    saved.write("sample:VehicleSpeed:Speed\n");
    saved.close();
    setModes(false, true);
    load();
    EXPECT_EQ(titles(), QStringList({"DATA", "CAN", "DRAVIK", "KAVRO", "SETTINGS", "ACTIONS", "APPS"}));
    EXPECT_FALSE(shell->canPage()->showAll());
    EXPECT_TRUE(shell->canPage()->canView()->selectedModel()->modelSignals().isEmpty());
    drainEvents();
    ASSERT_TRUE(saved.open(QIODevice::ReadOnly));
    EXPECT_EQ(saved.readAll(), QByteArray()); // the saved selection is emptied too
    ButtonView* toggle = nullptr;
    for (DisplayView* v : window->barView()->childViews()) {
        if (v->describe() == ServiceToggle)
            toggle = static_cast<ButtonView*>(v);
    }
    ASSERT_NE(toggle, nullptr);
    EXPECT_TRUE(toggle->isToggle());
    GUI_serviceMode.setValue(true);
    EXPECT_TRUE(toggle->isToggled());
}

TEST_F(ShellTest, ParentThatIsNotAnAppWindowGetsNoBarButtons)
{
    setModes(true, true);
    DisplayView plain(window.get());
    load(&plain);
    EXPECT_EQ(shell->exitButton(), nullptr);
    EXPECT_EQ(countLabelled(window.get(), ServiceToggle), 0);
    EXPECT_EQ(titles().size(), 9);
    setModes(false, false); // hiding without an exit button is fine too
    EXPECT_FALSE(shell->isVisible());
}

TEST_F(ShellTest, FactoryModeOpensTheFactoryTab)
{
    GUI_factoryMode.setValue(true);
    load();
    EXPECT_EQ(shell->factoryPage(), nullptr);
    GUI_developerMode.setValue(true);
    EXPECT_EQ(currentTitle(), "FACTORY");
    shell->pageView()->selectPage(0);
    GUI_diagnosticMode.setValue(true); // every entry into a shown state jumps there
    EXPECT_EQ(currentTitle(), "FACTORY");
}

TEST_F(ShellTest, ExitButtonRestartsInCustomerModeAndLeavesModesToTheHost)
{
    setModes(true, false);
    load();
    CapturingLogSink log;
    int restarts = 0;
    bool customer = false;
    QObject::connect(theCenterDisplay, &CenterDisplay::restartRequested, shell, [&](bool c) {
        ++restarts;
        customer = c;
    });
    DisplayDevice display(window.get(), QSize(1920, 1200));
    display.tap(shell->exitButton()->rootGeometry().center());
    EXPECT_EQ(restarts, 1);
    EXPECT_TRUE(customer);
    EXPECT_TRUE(PlatformJournal::instance()->contains("CenterDisplay.restartInCustomerMode()"));
    ASSERT_FALSE(log.records().isEmpty());
    EXPECT_EQ(log.records().first().context, "");
    EXPECT_EQ(log.lines().first(), "ERROR NOTE: Restarting Orvane app manually");
    EXPECT_TRUE(GUI_developerMode.value());
}
