#pragma once

#include "diag/DiagExport.h"
#include "views/PageView.h"

// Vehicle requests for developers; content comes with the developer settings.
class DIAG_EXPORT DeveloperSettingsPage : public PageView {
    Q_OBJECT
public:
    explicit DeveloperSettingsPage(DisplayView* parent)
        : PageView(parent, QStringLiteral("SETTINGS"))
    {
    }
};
