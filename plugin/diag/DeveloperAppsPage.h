#pragma once

#include "diag/DiagExport.h"
#include "views/PageView.h"

// The host's application chooser, so any installed app can be started from the tool.
class DIAG_EXPORT DeveloperAppsPage : public PageView {
    Q_OBJECT
public:
    explicit DeveloperAppsPage(DisplayView* parent);

protected:
    void doPageLoad() override;
};
