#pragma once

#include "views/PageView.h"

class LabelView;
class LayoutView;

// A page of rows: a vertical main layout ("SettingsMainLayout") that holds labels and
// horizontal rows ("SettingsHorizontalLayout") of controls.
class ORVANE_EXPORT SettingsPage : public PageView {
    Q_OBJECT
public:
    SettingsPage(DisplayView* parent, const QString& title);

    LayoutView* mainLayout() const { return mMainLayout; }
    // A new row at the end of the main layout; controls go in as its children.
    LayoutView* addRow(const QString& style = QStringLiteral("SettingsHorizontalLayout"));
    // A heading label. In its own row when newLine is true, else in the current row.
    LabelView* addMainLabel(const QString& text, bool newLine = false);
    // Ends the current row and leaves a gap before the next one.
    void nextLine();

private:
    LayoutView* currentRow();

    LayoutView* mMainLayout;
    LayoutView* mCurrentRow = nullptr;
};
