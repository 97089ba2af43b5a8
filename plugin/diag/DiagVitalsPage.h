#pragma once

#include "diag/DiagExport.h"
#include "views/PageView.h"

#include <QDateTime>
#include <QUrl>

#include <functional>

class WebView;

// The vehicle's vitals: the dashboard shipped with the car's assets, loaded while the page is
// in view and unloaded when it leaves, so it never runs in the background.
class DIAG_EXPORT DiagVitalsPage : public PageView {
    Q_OBJECT
public:
    // The wall clock; tests set it back without touching the machine's.
    using Clock = std::function<QDateTime()>;

    explicit DiagVitalsPage(DisplayView* parent);

    WebView* webView() const { return mWebView; }
    QUrl vitalsUrl() const { return mVitalsUrl; }
    void setClock(Clock clock);

protected slots:
    void tick1s() override;

private slots:
    void pageWasShown();
    void pageWasHidden();

private:
    Clock mClock;
    QDateTime mLastTick;
    WebView* mWebView;
    QUrl mVitalsUrl;
};
