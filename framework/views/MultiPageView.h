#pragma once

#include "views/DisplayView.h"
#include "views/TabSelectorView.h"

class PageView;

// Holds pages of which one at a time is shown; a tab selector shows their titles.
class ORVANE_EXPORT MultiPageView : public DisplayView, public TabSelectorController {
    Q_OBJECT
public:
    explicit MultiPageView(DisplayView* parent);
    ~MultiPageView() override;

    // Inserts before `before`, or appends when it is null or not a page of this view.
    void addPage(PageView* page, PageView* before);
    // Takes the page out (it stays alive; the caller owns it now).
    void removePage(PageView* page);
    PageView* getPage(int index) const;
    int pageCount() const;
    // Index of the first page with this title, -1 when there is none.
    int findPage(const QString& title) const;
    int currentIndex() const;
    PageView* currentPage() const;
    virtual void selectPage(int index);

    void setTabSelector(TabSelectorView* selector);

    int tabCount() const override { return pageCount(); }
    QString tabTitle(int index) const override;
    void tabSelected(int index) override { selectPage(index); }

    void dumpProperties(QJsonObject& out) const override;

private:
    void syncTabs();

    struct Private;
    std::unique_ptr<Private> d;
};
