#pragma once

#include "diag/DiagExport.h"
#include "views/PageView.h"

class AppInfo;

// The live CAN signal viewer; content comes with the CAN viewer. showAll lists the whole
// catalogue (developer mode); otherwise the filter file decides.
class DIAG_EXPORT DiagCANPage : public PageView {
    Q_OBJECT
public:
    DiagCANPage(DisplayView* parent, AppInfo* app, bool showAll)
        : PageView(parent, QStringLiteral("CAN"))
        , mApp(app)
        , mShowAll(showAll)
    {
    }

    bool showAll() const { return mShowAll; }
    bool rightTableCleared() const { return mRightTableCleared; }
    // Starts the chosen-signals table empty instead of from the saved selection.
    void clearRightTable() { mRightTableCleared = true; }

private:
    AppInfo* mApp;
    const bool mShowAll;
    bool mRightTableCleared = false;
};
