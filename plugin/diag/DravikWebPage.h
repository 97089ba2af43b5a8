#pragma once

#include "diag/DiagExport.h"
#include "views/SettingsPage.h"

class WebView;

// The service tool's web interface served on the car. Its address is read anew each time the
// page comes into view, and the page is unloaded when it leaves.
class DIAG_EXPORT DravikWebPage : public SettingsPage {
    Q_OBJECT
public:
    explicit DravikWebPage(DisplayView* parent);

    // Null until the page is first shown.
    WebView* webView() const { return mWebView; }

protected:
    void doPageLoad() override;

private slots:
    void pageWasShown();
    void pageWasHidden();

private:
    WebView* mWebView = nullptr;
};
