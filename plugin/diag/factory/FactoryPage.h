#pragma once

#include "diag/DiagExport.h"
#include "views/PageView.h"

class AppInfo;

// Factory, transport and trial-car modes and the factory tools; content comes with the
// factory page.
class DIAG_EXPORT FactoryPage : public PageView {
    Q_OBJECT
public:
    FactoryPage(DisplayView* parent, AppInfo* app)
        : PageView(parent, QStringLiteral("FACTORY"))
        , mApp(app)
    {
    }

private:
    AppInfo* mApp;
};
