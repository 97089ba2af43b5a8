#pragma once

#include "diag/DiagExport.h"
#include "views/PageView.h"

// Developer apps; content comes with the developer apps page.
class DIAG_EXPORT DeveloperAppsPage : public PageView {
    Q_OBJECT
public:
    explicit DeveloperAppsPage(DisplayView* parent)
        : PageView(parent, QStringLiteral("APPS"))
    {
    }
};
