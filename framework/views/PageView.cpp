#include "views/PageView.h"

#include <QJsonObject>
#include <QTimer>

PageView::PageView(DisplayView* parent, const QString& title)
    : DisplayView(parent)
    , mTitle(title)
{
    setObjectName(title);
}

void PageView::setTitle(const QString& title)
{
    mTitle = title;
    update();
}

void PageView::pageShown()
{
    if (mActive)
        return;
    mActive = true;
    if (!mLoaded) {
        mLoaded = true;
        doPageLoad();
    }
    connect(SecondTicker::instance(), &SecondTicker::tick, this, &PageView::tick1s, Qt::UniqueConnection);
    emit shown();
}

void PageView::pageHidden()
{
    if (!mActive)
        return;
    mActive = false;
    disconnect(SecondTicker::instance(), &SecondTicker::tick, this, &PageView::tick1s);
    emit hidden();
}

void PageView::dumpProperties(QJsonObject& out) const
{
    out.insert(QStringLiteral("title"), mTitle);
    out.insert(QStringLiteral("loaded"), mLoaded);
}

SecondTicker::SecondTicker()
{
    auto* timer = new QTimer(this);
    timer->setInterval(1000);
    connect(timer, &QTimer::timeout, this, &SecondTicker::tick);
    timer->start();
}

SecondTicker* SecondTicker::instance()
{
    static SecondTicker* ticker = new SecondTicker; // lives as long as the process
    return ticker;
}
