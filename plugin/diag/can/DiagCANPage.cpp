#include "diag/can/DiagCANPage.h"

#include "diag/can/CANDataModel.h"
#include "diag/can/CANView.h"

DiagCANPage::DiagCANPage(DisplayView* parent, AppInfo* appInfo, bool showAll)
    : PageView(parent, QStringLiteral("CAN"))
    , mView(new CANView(this, appInfo, showAll))
{
    mView->setAutoResizeToParent(true);
}

bool DiagCANPage::showAll() const
{
    return !mView->dataModel()->isFiltered();
}

void DiagCANPage::tick1s()
{
    mView->tick1s();
}
