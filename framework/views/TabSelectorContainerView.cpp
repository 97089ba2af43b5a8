#include "views/TabSelectorContainerView.h"

#include "views/TabSelectorView.h"

TabSelectorContainerView::TabSelectorContainerView(DisplayView* parent, int tabBarHeight)
    : DisplayView(parent)
    , mTabSelector(new TabSelectorView(this))
    , mTabBarHeight(tabBarHeight)
{
    resized();
}

void TabSelectorContainerView::setTabController(TabSelectorController* controller)
{
    mTabSelector->setController(controller);
}

void TabSelectorContainerView::setContentView(DisplayView* content, bool autoResize)
{
    mContent = content;
    mAutoResizeContent = autoResize;
    if (mContent)
        mContent->setGeometry(QRect(0, mTabBarHeight, width(), qMax(0, height() - mTabBarHeight)));
}

void TabSelectorContainerView::resized()
{
    mTabSelector->setGeometry(QRect(0, 0, width(), mTabBarHeight));
    if (mContent && mAutoResizeContent)
        mContent->setGeometry(QRect(0, mTabBarHeight, width(), qMax(0, height() - mTabBarHeight)));
}
