#pragma once

#include "views/DisplayView.h"

#include <QUrl>

class KineticScroller;
class QWebFrame;
class QWebPage;

// A web page on the toolkit's own engine, painted into the view tree like any other view. A
// tap is a click at that point; a drag scrolls the page with momentum. A page that fails to
// load leaves the view empty and working.
class ORVANE_EXPORT WebView : public DisplayView {
    Q_OBJECT
public:
    explicit WebView(DisplayView* parent, qreal zoomFactor = 1.0);
    ~WebView() override;

    // The frame pages are loaded through: the page's main frame.
    QWebFrame* currentFrame() const;
    QWebPage* page() const { return mPage; }
    qreal zoomFactor() const;
    void setZoomFactor(qreal factor);
    KineticScroller* scroller() const { return mScroller; }
    // Loading, or waiting for requests the page made (a dashboard fetching its first values).
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
    void pageLoaded(bool ok);
    void contentsChanged();
    void scrolled(const QPointF& offset);
    void click(const QPoint& point);

    QWebPage* mPage;
    KineticScroller* mScroller;
    QPoint mPressPoint;
    bool mDragging = false;
    bool mPressStoppedGlide = false;
    bool mLoading = false;
    int mRequestsInFlight = 0;
};
