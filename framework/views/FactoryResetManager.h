#pragma once

#include "OrvaneExport.h"

#include <QObject>

class ConfirmationPopup;

// Factory resets of the car's stored data. The reset is the platform's; the UI only asks the
// user first and then requests it.
class ORVANE_EXPORT FactoryResetManager : public QObject {
    Q_OBJECT
public:
    enum Flavour { ResetData = 1, EraseAllData = 2 };

    static FactoryResetManager* instance();

    // Asks whether to reset, and requests the reset on yes. Null for an unknown flavour.
    ConfirmationPopup* showResetConfirmationPopup(int flavour);

private:
    FactoryResetManager() = default;
};
