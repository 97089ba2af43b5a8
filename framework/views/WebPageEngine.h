#pragma once

#include "OrvaneExport.h"

#include <QObject>
#include <QRect>

class QJsonObject;
class QPainter;
class QPoint;
class QRect;
class QSize;
class QUrl;
class QWebFrame;
class QWebPage;

// The web engine behind a WebView. It lives in a library of its own that is loaded the first
// time a page is needed, so a host that shows no web page (or not yet) never pays for it.
class ORVANE_EXPORT WebPageEngine : public QObject {
    Q_OBJECT
public:
    using QObject::QObject;

    virtual QWebPage* page() const = 0;
    virtual QWebFrame* mainFrame() const = 0;
    virtual void load(const QUrl& url) = 0;
    // Loading, or waiting for requests the page made (its scripts' included).
    virtual bool isBusy() const = 0;

    virtual void setZoomFactor(qreal factor) = 0;
    virtual void setViewportSize(const QSize& size) = 0;
    virtual QSize contentsSize() const = 0;
    virtual void setScrollPosition(const QPoint& position) = 0;
    virtual void render(QPainter& painter, const QRect& area) = 0;
    virtual void click(const QPoint& point) = 0;

    virtual QString title() const = 0;
    virtual QUrl requestedUrl() const = 0;
    // The page's address, title and scroll position for a view dump.
    virtual void dumpProperties(QJsonObject& out) const = 0;

signals:
    // This part of the viewport (view coordinates) shows something new.
    void repaintNeeded(const QRect& area);
    void contentsSizeChanged();
    void loadFinished(bool ok);
};

// What the engine's library exports under CreateWebPageEngineSymbol: an engine owned by parent.
using CreateWebPageEngine = WebPageEngine* (*)(QObject* parent);
constexpr const char* CreateWebPageEngineSymbol = "orvaneCreateWebPageEngine";
