#pragma once

#include "views/DisplayView.h"

class TabSelectorController;
class TabSelectorView;

// A tab selector across the top and a content view below it.
class ORVANE_EXPORT TabSelectorContainerView : public DisplayView {
    Q_OBJECT
public:
    // tabBarHeight: the height of the tab selector in pixels.
    TabSelectorContainerView(DisplayView* parent, int tabBarHeight);

    TabSelectorView* tabSelector() const { return mTabSelector; }
    void setTabController(TabSelectorController* controller);
    // The content fills the space below the tabs and, with autoResize, keeps filling it.
    void setContentView(DisplayView* content, bool autoResize);
    DisplayView* contentView() const { return mContent; }

public slots:
    void resized() override;

private:
    TabSelectorView* mTabSelector;
    DisplayView* mContent = nullptr;
    bool mAutoResizeContent = false;
    int mTabBarHeight;
};
