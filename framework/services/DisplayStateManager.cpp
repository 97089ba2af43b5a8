#include "services/DisplayStateManager.h"

#include "services/PlatformJournal.h"

DisplayStateManager* DisplayStateManager::instance()
{
    static DisplayStateManager manager;
    return &manager;
}

void DisplayStateManager::requestPowerOff()
{
    PlatformJournal::record(QStringLiteral("DisplayStateManager"), QStringLiteral("requestPowerOff"));
}
