#pragma once

#include "diag/DiagExport.h"
#include "views/SettingsPage.h"

// Every button type and colour of the framework, for checking how they render.
class DIAG_EXPORT ButtonViewPage : public SettingsPage {
    Q_OBJECT
public:
    Q_INVOKABLE explicit ButtonViewPage(DisplayView* parent);

protected:
    void doPageLoad() override;
};
