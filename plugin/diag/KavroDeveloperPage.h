#pragma once

#include "diag/DiagExport.h"
#include "views/PageView.h"

// A tab kept for the KAVRO tools; it has no content of its own.
class DIAG_EXPORT KavroDeveloperPage : public PageView {
    Q_OBJECT
public:
    explicit KavroDeveloperPage(DisplayView* parent)
        : PageView(parent, QStringLiteral("KAVRO"))
    {
    }
};
