#pragma once

#include "diag/DiagExport.h"
#include "views/SettingsPage.h"

// Switches of the navigation and maps stack and three navigation actions. Not one of the
// diagnostic app's tabs: exported for a host that wants to place it.
class DIAG_EXPORT DeveloperNavigationPage : public SettingsPage {
    Q_OBJECT
public:
    // Invokable so a host that loads the plug-in at run time can make one by name.
    Q_INVOKABLE explicit DeveloperNavigationPage(DisplayView* parent);

public slots:
    void restartNavServer();
    void clearHomeAndWork();
    void testOptimizedRouting();

protected slots:
    void tick1s() override;

protected:
    void doPageLoad() override;
};
