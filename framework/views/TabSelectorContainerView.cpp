#include "views/TabSelectorContainerView.h"

#include "views/TabSelectorView.h"

struct TabSelectorContainerView::Private {
    Private(TabSelectorContainerView* container, int tabBarHeight)
        : tabSelector(new TabSelectorView(container))
        , tabBarHeight(tabBarHeight)
    {
    }

    TabSelectorView* tabSelector;
    DisplayView* content = nullptr;
    bool autoResizeContent = false;
    int tabBarHeight;
};

TabSelectorContainerView::TabSelectorContainerView(DisplayView* parent, int tabBarHeight)
    : DisplayView(parent)
    , d(std::make_unique<Private>(this, tabBarHeight))
{
    resized();
}

TabSelectorContainerView::~TabSelectorContainerView() = default;

TabSelectorView* TabSelectorContainerView::tabSelector() const
{
    return d->tabSelector;
}

DisplayView* TabSelectorContainerView::contentView() const
{
    return d->content;
}

void TabSelectorContainerView::setTabController(TabSelectorController* controller)
{
    d->tabSelector->setController(controller);
}

void TabSelectorContainerView::setContentView(DisplayView* content, bool autoResize)
{
    d->content = content;
    d->autoResizeContent = autoResize;
    if (d->content)
        d->content->setGeometry(QRect(0, d->tabBarHeight, width(), qMax(0, height() - d->tabBarHeight)));
}

void TabSelectorContainerView::resized()
{
    d->tabSelector->setGeometry(QRect(0, 0, width(), d->tabBarHeight));
    if (d->content && d->autoResizeContent)
        d->content->setGeometry(QRect(0, d->tabBarHeight, width(), qMax(0, height() - d->tabBarHeight)));
}
