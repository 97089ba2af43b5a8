#pragma once

#include "diag/DiagExport.h"
#include "views/SettingsPage.h"

// A tab kept for car-model-specific developer tools; it has no content of its own.
class DIAG_EXPORT KavroDeveloperPage : public SettingsPage {
    Q_OBJECT
public:
    explicit KavroDeveloperPage(DisplayView* parent)
        : SettingsPage(parent, QStringLiteral("KAVRO"))
    {
    }
};
