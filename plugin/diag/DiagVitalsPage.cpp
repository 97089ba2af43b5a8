#include "diag/DiagVitalsPage.h"

#include "diag/DiagConfig.h"
#include "services/StorageUtils.h"
#include "views/WebView.h"

namespace {

// An absolute file path (a query may follow it) is a local page; anything else is an address.
QUrl pageUrl(const QString& text)
{
    return QUrl(text.startsWith(QLatin1Char('/')) ? QStringLiteral("file://") + text : text);
}

} // namespace

DiagVitalsPage::DiagVitalsPage(DisplayView* parent)
    : PageView(parent, QStringLiteral("DATA"))
    , mClock(&QDateTime::currentDateTime)
    , mWebView(new WebView(this, 1.0))
    , mVitalsUrl(pageUrl(DiagVitalsUrl.value().arg(StorageUtils::assetsFolder())))
{
    mWebView->setAutoResizeToParent(QRect(0, 0, 100, 100));
    mWebView->show();
    mLastTick = mClock();
    connect(this, &PageView::shown, this, &DiagVitalsPage::pageWasShown);
    connect(this, &PageView::hidden, this, &DiagVitalsPage::pageWasHidden);
}

void DiagVitalsPage::setClock(Clock clock)
{
    mClock = std::move(clock);
    mLastTick = mClock();
}

void DiagVitalsPage::pageWasShown()
{
    mWebView->load(mVitalsUrl);
}

void DiagVitalsPage::pageWasHidden()
{
    mWebView->load(QUrl());
}

void DiagVitalsPage::tick1s()
{
    const QDateTime now = mClock();
    // The dashboard's own timers stall when the clock goes back; going forward is harmless.
    if (now < mLastTick)
        mWebView->load(mVitalsUrl);
    mLastTick = now;
}
