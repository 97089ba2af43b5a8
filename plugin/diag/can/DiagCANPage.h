#pragma once

#include "diag/DiagExport.h"
#include "views/PageView.h"

class AppInfo;
class CANView;

// The "CAN" tab: the live CAN signal viewer. showAll lists the whole catalogue (developer
// mode); otherwise the filter file decides what is listed.
class DIAG_EXPORT DiagCANPage : public PageView {
    Q_OBJECT
public:
    DiagCANPage(DisplayView* parent, AppInfo* appInfo, bool showAll);

    CANView* canView() const { return mView; }
    bool showAll() const;

protected slots:
    void tick1s() override;

private:
    CANView* mView;
};
