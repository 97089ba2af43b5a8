#include "display/DisplayDevice.h"
#include "views/ButtonView.h"
#include "views/MultiPageView.h"
#include "views/PageView.h"
#include "views/TabSelectorContainerView.h"
#include "views/TabSelectorView.h"
#include "TestSupport.h"

#include <QSignalSpy>
#include <gtest/gtest.h>

namespace {

class CountingPage : public PageView {
public:
    using PageView::PageView;
    int loads = 0;

protected:
    void doPageLoad() override { ++loads; }
};

struct Tabs {
    Tabs()
        : container(nullptr, 44)
        , pages(new MultiPageView(&container))
    {
        container.resize(1000, 600);
        container.setTabController(pages);
        pages->setTabSelector(container.tabSelector());
        container.setContentView(pages, true);
    }
    CountingPage* add(const QString& title, PageView* before = nullptr)
    {
        auto* page = new CountingPage(pages, title);
        pages->addPage(page, before);
        return page;
    }
    QStringList titles() const
    {
        QStringList out;
        for (int i = 0; i < pages->pageCount(); ++i)
            out << pages->getPage(i)->title();
        return out;
    }
    QStringList tabLabels() const
    {
        QStringList out;
        for (DisplayView* v : container.tabSelector()->childViews())
            out << static_cast<ButtonView*>(v)->label();
        return out;
    }
    TabSelectorContainerView container;
    MultiPageView* pages;
};

} // namespace

TEST(MultiPageView, InsertBeforeAppendRemoveAndFind)
{
    Tabs t;
    CountingPage* data = t.add("DATA");
    CountingPage* dravik = t.add("DRAVIK");
    t.add("APPS");
    CountingPage* can = t.add("CAN", t.pages->getPage(1));
    t.add("FACTORY", t.pages->getPage(2));
    EXPECT_EQ(t.titles(), QStringList({"DATA", "CAN", "FACTORY", "DRAVIK", "APPS"}));
    EXPECT_EQ(t.tabLabels(), t.titles());
    EXPECT_EQ(t.pages->findPage("FACTORY"), 2);
    EXPECT_EQ(t.pages->findPage("NOPE"), -1);
    EXPECT_EQ(t.pages->getPage(99), nullptr);

    // A "before" page that is not ours appends.
    CountingPage stranger(nullptr, "X");
    t.add("LAST", &stranger);
    EXPECT_EQ(t.titles().last(), "LAST");

    t.pages->removePage(t.pages->getPage(2));
    EXPECT_EQ(t.titles(), QStringList({"DATA", "CAN", "DRAVIK", "APPS", "LAST"}));
    EXPECT_EQ(t.tabLabels(), t.titles());
    t.pages->removePage(can);
    t.pages->removePage(can); // twice is harmless
    EXPECT_EQ(t.pages->findPage("DRAVIK"), 1);
    EXPECT_EQ(t.pages->currentPage(), data);
    (void)dravik;
}

TEST(MultiPageView, PagesLoadOnceOnFirstShowAndOnlyTheCurrentIsVisible)
{
    Tabs t;
    CountingPage* first = t.add("ONE");
    CountingPage* second = t.add("TWO");
    EXPECT_EQ(first->loads, 1); // the first page added is shown
    EXPECT_EQ(second->loads, 0);
    EXPECT_FALSE(second->isVisible());
    QSignalSpy hidden(first, &PageView::hidden);

    t.pages->selectPage(1);
    t.pages->selectPage(0);
    t.pages->selectPage(1);
    EXPECT_EQ(second->loads, 1);
    EXPECT_EQ(first->loads, 1);
    EXPECT_EQ(hidden.count(), 2);
    EXPECT_TRUE(second->isVisible());
    EXPECT_FALSE(first->isVisible());
    EXPECT_EQ(t.container.tabSelector()->selectedTab(), 1);
    t.pages->selectPage(7); // no such page: nothing changes
    EXPECT_EQ(t.pages->currentIndex(), 1);

    // Removing the current page shows its neighbour; destroying a page forgets it.
    t.pages->removePage(second);
    EXPECT_EQ(t.pages->currentPage(), first);
    EXPECT_TRUE(first->isVisible());
    delete second;
    CountingPage* third = t.add("THREE");
    delete third;
    EXPECT_EQ(t.pages->pageCount(), 1);
    EXPECT_EQ(t.tabLabels(), QStringList{"ONE"});
}

TEST(MultiPageView, TappingATabSelectsItsPageAndPagesFillTheContentArea)
{
    Tabs t;
    DisplayDevice display(&t.container, QSize(1000, 600));
    t.add("ONE");
    CountingPage* two = t.add("TWO");
    t.pages->setLayoutMargin(Padding{0, 0, 20, 0});
    DisplayView* tab = t.container.tabSelector()->childViews().at(1);
    display.tap(tab->rootGeometry().center());
    EXPECT_EQ(t.pages->currentPage(), two);
    EXPECT_EQ(t.pages->geometry(), QRect(0, 44, 1000, 556));
    EXPECT_EQ(two->geometry(), QRect(0, 0, 980, 556));
    t.container.resize(800, 400);
    EXPECT_EQ(two->geometry(), QRect(0, 0, 780, 356));
}

TEST(PageView, TicksOnlyWhileShown)
{
    class TickingPage : public PageView {
    public:
        using PageView::PageView;
        int ticks = 0;

    protected:
        void tick1s() override { ++ticks; }
    };
    Tabs t;
    auto* a = new TickingPage(t.pages, "A");
    auto* b = new TickingPage(t.pages, "B");
    t.pages->addPage(a, nullptr);
    t.pages->addPage(b, nullptr);
    emit SecondTicker::instance()->tick();
    EXPECT_EQ(a->ticks, 1);
    EXPECT_EQ(b->ticks, 0);
    t.pages->selectPage(1);
    emit SecondTicker::instance()->tick();
    EXPECT_EQ(a->ticks, 1);
    EXPECT_EQ(b->ticks, 1);
}
