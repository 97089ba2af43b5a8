#include "diag/DeveloperAppsPage.h"

#include "views/AppChooser.h"
#include "views/table/ListView.h"

DeveloperAppsPage::DeveloperAppsPage(DisplayView* parent)
    : PageView(parent, QStringLiteral("APPS"))
{
}

void DeveloperAppsPage::doPageLoad()
{
    auto* chooser = new AppChooser(this);
    chooser->listView()->setScaleFactor(9, 18);
    chooser->setAutoResizeToParent(true);
}
