#include "views/SettingsPage.h"

#include "views/LabelView.h"
#include "views/LayoutView.h"

SettingsPage::SettingsPage(DisplayView* parent, const QString& title)
    : PageView(parent, title)
    , mMainLayout(new LayoutView(this, Style("SettingsMainLayout")))
{
    mMainLayout->setAutoResizeToParent(true);
}

LayoutView* SettingsPage::addRow(const QString& style)
{
    mCurrentRow = new LayoutView(mMainLayout, Style(style));
    return mCurrentRow;
}

LayoutView* SettingsPage::currentRow()
{
    return mCurrentRow ? mCurrentRow : addRow();
}

LabelView* SettingsPage::addMainLabel(const QString& text, bool newLine)
{
    LabelView* label;
    if (newLine) {
        label = new LabelView(mMainLayout, text);
        mCurrentRow = nullptr;
    } else {
        label = new LabelView(currentRow(), text);
    }
    label->setFontSize(28);
    return label;
}

void SettingsPage::nextLine()
{
    mCurrentRow = nullptr;
    auto* gap = new DisplayView(mMainLayout);
    gap->resize(1, 12);
}
