#include "views/MultiPageView.h"

#include "views/PageView.h"

#include <QJsonObject>

struct MultiPageView::Private {
    QVector<PageView*> pages;
    PageView* current = nullptr;
    TabSelectorView* tabSelector = nullptr;
};

MultiPageView::MultiPageView(DisplayView* parent)
    : DisplayView(parent)
    , d(std::make_unique<Private>())
{
}

MultiPageView::~MultiPageView() = default;

int MultiPageView::pageCount() const
{
    return d->pages.size();
}

PageView* MultiPageView::currentPage() const
{
    return d->current;
}

void MultiPageView::addPage(PageView* page, PageView* before)
{
    if (!page || d->pages.contains(page))
        return;
    const int at = before ? d->pages.indexOf(before) : -1;
    if (at < 0)
        d->pages.append(page);
    else
        d->pages.insert(at, page);
    connect(page, &QObject::destroyed, this, [this, page] {
        if (d->pages.removeAll(page) == 0)
            return;
        if (d->current == page)
            d->current = nullptr;
        syncTabs();
    });
    page->setAutoResizeToParent(true);
    page->show(false);
    if (!d->current)
        selectPage(d->pages.indexOf(page));
    syncTabs();
}

void MultiPageView::removePage(PageView* page)
{
    const int index = d->pages.indexOf(page);
    if (index < 0)
        return;
    d->pages.removeAt(index);
    disconnect(page, &QObject::destroyed, this, nullptr);
    if (d->current == page) {
        page->show(false);
        page->pageHidden();
        d->current = nullptr;
        if (!d->pages.isEmpty())
            selectPage(qMin(index, d->pages.size() - 1));
    }
    syncTabs();
}

PageView* MultiPageView::getPage(int index) const
{
    return index >= 0 && index < d->pages.size() ? d->pages[index] : nullptr;
}

int MultiPageView::findPage(const QString& title) const
{
    for (int i = 0; i < d->pages.size(); ++i) {
        if (d->pages[i]->title() == title)
            return i;
    }
    return -1;
}

int MultiPageView::currentIndex() const
{
    return d->pages.indexOf(d->current);
}

void MultiPageView::selectPage(int index)
{
    PageView* next = getPage(index);
    if (!next)
        return;
    if (next != d->current) {
        if (d->current) {
            d->current->show(false);
            d->current->pageHidden();
        }
        d->current = next;
        next->show(true);
        next->pageShown();
    }
    syncTabs();
}

void MultiPageView::setTabSelector(TabSelectorView* selector)
{
    d->tabSelector = selector;
    syncTabs();
}

QString MultiPageView::tabTitle(int index) const
{
    const PageView* page = getPage(index);
    return page ? page->title() : QString();
}

void MultiPageView::syncTabs()
{
    if (!d->tabSelector || d->tabSelector->controller() != this)
        return;
    d->tabSelector->refresh();
    d->tabSelector->setSelectedTab(currentIndex());
}

void MultiPageView::dumpProperties(QJsonObject& out) const
{
    out.insert(QStringLiteral("currentIndex"), currentIndex());
}
