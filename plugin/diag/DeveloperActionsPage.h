#pragma once

#include "diag/DiagExport.h"
#include "views/PageView.h"

// One-tap vehicle actions; content comes with the developer actions.
class DIAG_EXPORT DeveloperActionsPage : public PageView {
    Q_OBJECT
public:
    explicit DeveloperActionsPage(DisplayView* parent)
        : PageView(parent, QStringLiteral("ACTIONS"))
    {
    }
};
