#pragma once

#include "diag/DiagExport.h"

#include "include/cef_browser.h"
#include "views/ExternalMultiTouchView.h"

#include <QPoint>
#include <QPointer>
#include <QUrl>

class ChromiumClient;

// The web view host screens place: a classic web view's face over the engine. Its client (and
// with it the browser) exists only once the UI is all ready and while not suspended; the last
// URL and title outlive the client.
class DIAG_EXPORT WebKitView : public ExternalMultiTouchView {
    Q_OBJECT
public:
    // The engine's dialog types, and the question whether a site may read the location.
    enum DialogType { Alert = 0, Confirm = 1, Prompt = 2, GeolocationPermission = 3 };
    Q_ENUM(DialogType)

    Q_INVOKABLE explicit WebKitView(DisplayView* parent = nullptr);
    ~WebKitView() override;

    CefRefPtr<CefBrowser> browser() const;
    bool browserExists() const { return browser().get() != nullptr; }
    ChromiumClient* client() const;

    // Invokable: host screens reach the view through its meta-object.
    Q_INVOKABLE void loadURL(const QUrl& url);
    Q_INVOKABLE QUrl url() const;
    Q_INVOKABLE QString title() const;
    Q_INVOKABLE bool canGoBack() const;
    Q_INVOKABLE bool canGoForward() const;
    void suspendBrowser(bool suspend);
    void evaluateJavaScriptInMainFrame(const QString& script);

    bool keyEvent(QKeyEvent* event) override;
    void lostKeyFocus() override;
    bool touchEvent(const TouchEvent& event) override;
    unsigned long findX11Window(unsigned long current) override;
    QString describe() const override { return title(); }
    void dumpProperties(QJsonObject& out) const override;

    // Told by the client.
    void urlChanged(const QUrl& url);
    void titleChanged(const QString& title);
    void browserReady();
    void editorStateChanged(bool editing);
    void windowHandleChanged(unsigned long window);

signals:
    void urlDidChange(QUrl);
    void backForwardListDidChange();
    void pageLoadDidFinish();
    void pageLoadDidFail(QUrl failingURL, QString description);
    void pageTitleDidChange(QString);
    void loadingProgressDidStart();
    void loadingProgressDidChange(double);
    void loadingProgressDidFinish();
    void presentJavaScriptPopup(QString text, WebKitView::DialogType type, QString prompt);
    void dismissJavaScriptPopup();
    void provisionalPageLoadDidStart();
    void provisionalPageLoadDidFail(QUrl, QString);
    void pageLoadDidCommit();
    void documentLoadDidFinish();
    void pageDidFirstLayout();
    void pageDidFirstVisuallyNonEmptyLayout();
    void pageDidFirstLayoutAfterSuppressedIncrementalRendering();
    void pageDidFirstPaintAfterSuppressedIncrementalRendering();
    void pageDidScroll(QPoint);
    void pageProcessDidCrash(size_t currentPageCrashCount, bool willReload);

public slots:
    void goForward();
    void goBack();
    void reload();
    void reloadFromOrigin();
    void stopLoading();
    void scrollToTop();
    void javaScriptPopupResult(bool result, const QString& text);
    void createBrowserClient();
    void resized() override;

protected:
    void tapped(const QPoint& position) override;
    void scrolled(const QPoint& delta, const QPoint& position) override;

private:
    bool mSuspended = false;
    QUrl mLastUrl;
    QString mLastTitle;
    // Guarded: a client deletes itself once the engine is done with it.
    QPointer<ChromiumClient> mClient;
};
