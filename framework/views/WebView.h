#pragma once

#include "views/DisplayView.h"

#include <QUrl>
#include <memory>

class KineticScroller;
class QWebFrame;
class QWebPage;
class WebPageEngine;

// A web page painted into the view tree like any other view. A tap is a click at that point;
// a drag scrolls the page with momentum. A page that fails to load leaves the view empty and
// working.
//
// The engine is loaded on first use: a view that is never asked for a page costs nothing, and
// a host may hold every engine back until its first frame is painted (holdEngines).
class ORVANE_EXPORT WebView : public DisplayView {
    Q_OBJECT
public:
    explicit WebView(DisplayView* parent, qreal zoomFactor = 1.0);
    ~WebView() override;

    // While held, pages asked for wait and their views start their engines when released.
    static void holdEngines(bool hold);

    // Loads url into the main frame, once the engine is there.
    void load(const QUrl& url);
    // The frame pages are loaded through: the page's main frame. Starts the engine now.
    QWebFrame* currentFrame();
    QWebPage* page();
    qreal zoomFactor() const;
    void setZoomFactor(qreal factor);
    KineticScroller* scroller() const;
    // Loading, waiting for the engine, or waiting for requests the page made (a dashboard
    // fetching its first values).
    bool isBusy() const;

    void draw(QPainter& painter) override;
    bool touchEvent(const TouchEvent& event) override;
    bool takesOverTouch(const QPoint& movedBy) const override;
    QString describe() const override;
    void dumpProperties(QJsonObject& out) const override;

public slots:
    void resized() override;

signals:
    void loadFinished(bool ok);

private:
    WebPageEngine* engine();
    void startEngine();
    void pageLoaded(bool ok);
    void contentsChanged();
    void scrolled(const QPointF& offset);

    struct Private;
    std::unique_ptr<Private> d;
};
