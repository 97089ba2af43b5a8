#include "views/MultiPageView.h"

#include "views/PageView.h"

#include <QJsonObject>

MultiPageView::MultiPageView(DisplayView* parent)
    : DisplayView(parent)
{
}

void MultiPageView::addPage(PageView* page, PageView* before)
{
    if (!page || mPages.contains(page))
        return;
    const int at = before ? mPages.indexOf(before) : -1;
    if (at < 0)
        mPages.append(page);
    else
        mPages.insert(at, page);
    connect(page, &QObject::destroyed, this, [this, page] {
        if (mPages.removeAll(page) == 0)
            return;
        if (mCurrent == page)
            mCurrent = nullptr;
        syncTabs();
    });
    page->setAutoResizeToParent(true);
    page->show(false);
    if (!mCurrent)
        selectPage(mPages.indexOf(page));
    syncTabs();
}

void MultiPageView::removePage(PageView* page)
{
    const int index = mPages.indexOf(page);
    if (index < 0)
        return;
    mPages.removeAt(index);
    disconnect(page, &QObject::destroyed, this, nullptr);
    if (mCurrent == page) {
        page->show(false);
        page->pageHidden();
        mCurrent = nullptr;
        if (!mPages.isEmpty())
            selectPage(qMin(index, mPages.size() - 1));
    }
    syncTabs();
}

PageView* MultiPageView::getPage(int index) const
{
    return index >= 0 && index < mPages.size() ? mPages[index] : nullptr;
}

int MultiPageView::findPage(const QString& title) const
{
    for (int i = 0; i < mPages.size(); ++i) {
        if (mPages[i]->title() == title)
            return i;
    }
    return -1;
}

int MultiPageView::currentIndex() const
{
    return mPages.indexOf(mCurrent);
}

void MultiPageView::selectPage(int index)
{
    PageView* next = getPage(index);
    if (!next)
        return;
    if (next != mCurrent) {
        if (mCurrent) {
            mCurrent->show(false);
            mCurrent->pageHidden();
        }
        mCurrent = next;
        next->show(true);
        next->pageShown();
    }
    syncTabs();
}

void MultiPageView::setTabSelector(TabSelectorView* selector)
{
    mTabSelector = selector;
    syncTabs();
}

QString MultiPageView::tabTitle(int index) const
{
    const PageView* page = getPage(index);
    return page ? page->title() : QString();
}

void MultiPageView::syncTabs()
{
    if (!mTabSelector || mTabSelector->controller() != this)
        return;
    mTabSelector->refresh();
    mTabSelector->setSelectedTab(currentIndex());
}

void MultiPageView::dumpProperties(QJsonObject& out) const
{
    out.insert(QStringLiteral("currentIndex"), currentIndex());
}
