#pragma once

#include "views/WebPageEngine.h"

// WebPageEngine on the toolkit's own web engine (QtWebKit).
class WebKitPageEngine : public WebPageEngine {
public:
    explicit WebKitPageEngine(QObject* parent);
    ~WebKitPageEngine() override;

    QWebPage* page() const override { return mPage; }
    QWebFrame* mainFrame() const override;
    void load(const QUrl& url) override;
    bool isBusy() const override;

    void setZoomFactor(qreal factor) override;
    void setViewportSize(const QSize& size) override;
    QSize contentsSize() const override;
    void setScrollPosition(const QPoint& position) override;
    void render(QPainter& painter, const QRect& area) override;
    void click(const QPoint& point) override;

    QString title() const override;
    QUrl requestedUrl() const override;
    void dumpProperties(QJsonObject& out) const override;

private:
    QWebPage* mPage;
    bool mLoading = false;
    int mRequestsInFlight = 0;
};
