#include "views/FactoryResetManager.h"

#include "core/Logger.h"
#include "services/PlatformJournal.h"
#include "views/popup/ConfirmationPopup.h"

FactoryResetManager* FactoryResetManager::instance()
{
    static FactoryResetManager* manager = new FactoryResetManager; // lives as long as the process
    return manager;
}

ConfirmationPopup* FactoryResetManager::showResetConfirmationPopup(int flavour)
{
    QString title;
    QString text;
    QString operation;
    switch (flavour) {
    case ResetData:
        title = tr("RESET DATA");
        text = tr("Settings, profiles and saved places on this car will be reset. The car restarts afterwards.");
        operation = QStringLiteral("resetData");
        break;
    case EraseAllData:
        title = tr("ERASE ALL DATA");
        text = tr("Every piece of data stored on this car will be erased. This cannot be undone.");
        operation = QStringLiteral("eraseAllData");
        break;
    default:
        Logger(this, "ERROR") << "Unknown factory reset flavour" << flavour;
        return nullptr;
    }
    auto* popup = new ConfirmationPopup(title, text, tr("CANCEL"), tr("RESET"));
    connect(popup, &ConfirmationPopup::answered, this, [operation](bool yes) {
        if (yes)
            PlatformJournal::record(QStringLiteral("FactoryResetManager"), operation);
    });
    popup->open();
    return popup;
}
