#include "diag/DravikWebPage.h"

#include "diag/DiagConfig.h"
#include "views/WebView.h"

DravikWebPage::DravikWebPage(DisplayView* parent)
    : SettingsPage(parent, QStringLiteral("DRAVIK"))
{
    connect(this, &PageView::shown, this, &DravikWebPage::pageWasShown);
    connect(this, &PageView::hidden, this, &DravikWebPage::pageWasHidden);
}

void DravikWebPage::doPageLoad()
{
    mWebView = new WebView(this, 1.0);
    mWebView->setAutoResizeToParent(QRect(0, 0, 100, 100));
}

void DravikWebPage::pageWasShown()
{
    if (!mWebView)
        return;
    // The store may hand back a C string with its terminator and whatever followed it.
    QByteArray address = DiagDravikUrl.value().toUtf8();
    const int nul = address.indexOf('\0');
    if (nul >= 0)
        address.truncate(nul);
    mWebView->load(QUrl(QString::fromUtf8(address)));
}

void DravikWebPage::pageWasHidden()
{
    if (mWebView)
        mWebView->load(QUrl());
}
