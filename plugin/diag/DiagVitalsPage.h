#pragma once

#include "diag/DiagExport.h"
#include "views/PageView.h"

// The vehicle's vitals as a web page; content comes with the web-backed pages.
class DIAG_EXPORT DiagVitalsPage : public PageView {
    Q_OBJECT
public:
    explicit DiagVitalsPage(DisplayView* parent)
        : PageView(parent, QStringLiteral("DATA"))
    {
    }
};
