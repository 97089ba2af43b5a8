#pragma once

#include "diag/DiagExport.h"
#include "views/SettingsPage.h"

class QFont;

// Every font of the display with a sample line, so text rendering can be checked on the car.
class DIAG_EXPORT FontTestPage : public SettingsPage {
    Q_OBJECT
public:
    explicit FontTestPage(DisplayView* parent);

    void addFontLabel(const QString& name, const QFont& font, int size);
};
