#pragma once

#include "diag/DiagExport.h"
#include "views/PageView.h"

// The service tool's web page; content comes with the web-backed pages.
class DIAG_EXPORT DravikWebPage : public PageView {
    Q_OBJECT
public:
    explicit DravikWebPage(DisplayView* parent)
        : PageView(parent, QStringLiteral("DRAVIK"))
    {
    }
};
