#include "views/PageView.h"

#include <QJsonObject>
#include <QTimer>

struct PageView::Private {
    QString title;
    bool loaded = false;
    bool active = false;
};

PageView::PageView(DisplayView* parent, const QString& title)
    : DisplayView(parent)
    , d(std::make_unique<Private>(Private{title}))
{
    setObjectName(title);
}

PageView::~PageView() = default;

QString PageView::title() const
{
    return d->title;
}

bool PageView::isLoaded() const
{
    return d->loaded;
}

QString PageView::describe() const
{
    return d->title;
}

void PageView::setTitle(const QString& title)
{
    d->title = title;
    update();
}

void PageView::pageShown()
{
    if (d->active)
        return;
    d->active = true;
    if (!d->loaded) {
        d->loaded = true;
        doPageLoad();
    }
    connect(SecondTicker::instance(), &SecondTicker::tick, this, &PageView::tick1s, Qt::UniqueConnection);
    emit shown();
}

void PageView::pageHidden()
{
    if (!d->active)
        return;
    d->active = false;
    disconnect(SecondTicker::instance(), &SecondTicker::tick, this, &PageView::tick1s);
    emit hidden();
}

void PageView::dumpProperties(QJsonObject& out) const
{
    out.insert(QStringLiteral("title"), d->title);
    out.insert(QStringLiteral("loaded"), d->loaded);
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
