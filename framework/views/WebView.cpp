#include "views/WebView.h"

#include "core/Logger.h"
#include "views/KineticScroller.h"

#include <QApplication>
#include <QJsonObject>
#include <QMouseEvent>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QPainter>
#include <QWebFrame>
#include <QWebPage>
#include <QWebSettings>

#include <functional>
#include <memory>
#include <utility>

namespace {
// How far a finger may wander before a tap becomes a drag.
constexpr int TapSlop = 12;

// Tells of every request the page makes, its scripts' included, when it starts and when it
// is done, so the view knows when the page has what it asked for.
class CountingNetworkAccess : public QNetworkAccessManager {
public:
    CountingNetworkAccess(QObject* parent, std::function<void(int)> changed)
        : QNetworkAccessManager(parent)
        , mChanged(std::move(changed))
    {
    }

protected:
    QNetworkReply* createRequest(Operation op, const QNetworkRequest& request, QIODevice* data) override
    {
        QNetworkReply* reply = QNetworkAccessManager::createRequest(op, request, data);
        mChanged(+1);
        // Finished, or gone without finishing: counted down once either way.
        auto done = std::make_shared<bool>(false);
        const auto end = [this, done] {
            if (!std::exchange(*done, true))
                mChanged(-1);
        };
        connect(reply, &QNetworkReply::finished, this, end);
        connect(reply, &QObject::destroyed, this, end);
        return reply;
    }

private:
    std::function<void(int)> mChanged;
};
} // namespace

WebView::WebView(DisplayView* parent, qreal zoomFactor)
    : DisplayView(parent)
    , mPage(new QWebPage(this))
    , mScroller(new KineticScroller(this))
{
    QWebSettings* settings = mPage->settings();
    // Local pages shipped with the car (the vitals dashboard) read the car's own endpoints.
    settings->setAttribute(QWebSettings::LocalContentCanAccessRemoteUrls, true);
    QWebFrame* frame = mPage->mainFrame();
    // The finger scrolls through the kinetic scroller; the engine draws no scroll bars.
    frame->setScrollBarPolicy(Qt::Vertical, Qt::ScrollBarAlwaysOff);
    frame->setScrollBarPolicy(Qt::Horizontal, Qt::ScrollBarAlwaysOff);
    frame->setZoomFactor(zoomFactor);
    connect(mPage, &QWebPage::repaintRequested, this, [this] { update(); });
    connect(mPage, &QWebPage::scrollRequested, this, [this] { update(); });
    connect(frame, &QWebFrame::contentsSizeChanged, this, &WebView::contentsChanged);
    connect(frame, &QWebFrame::loadFinished, this, &WebView::pageLoaded);
    connect(frame, &QWebFrame::loadStarted, this, [this] { mLoading = true; });
    mPage->setNetworkAccessManager(
        new CountingNetworkAccess(mPage, [this](int change) { mRequestsInFlight += change; }));
    connect(mScroller, &KineticScroller::offsetChanged, this, &WebView::scrolled);
}

WebView::~WebView()
{
    // The page's requests end as it goes and report to this view: it goes while the view is whole.
    delete mPage;
}

QWebFrame* WebView::currentFrame() const
{
    return mPage->mainFrame();
}

qreal WebView::zoomFactor() const
{
    return mPage->mainFrame()->zoomFactor();
}

void WebView::setZoomFactor(qreal factor)
{
    mPage->mainFrame()->setZoomFactor(factor);
    contentsChanged();
}

void WebView::resized()
{
    DisplayView::resized();
    mPage->setViewportSize(rect().size());
    contentsChanged();
}

bool WebView::isBusy() const
{
    return mLoading || mRequestsInFlight > 0;
}

void WebView::pageLoaded(bool ok)
{
    mLoading = false;
    const QUrl url = mPage->mainFrame()->requestedUrl();
    // Unloading loads the empty address, which the engine reports as a failure.
    if (!ok && !url.isEmpty())
        Logger(this, "WARN") << "Page did not load:" << url.toString();
    mScroller->setOffset(QPointF(0, 0));
    contentsChanged();
    emit loadFinished(ok);
}

void WebView::contentsChanged()
{
    const QSize contents = mPage->mainFrame()->contentsSize();
    mScroller->setBounds(QPointF(0, 0),
                         QPointF(qMax(0, contents.width() - width()), qMax(0, contents.height() - height())));
    update();
}

void WebView::scrolled(const QPointF& offset)
{
    mPage->mainFrame()->setScrollPosition(offset.toPoint());
    update();
}

void WebView::draw(QPainter& painter)
{
    painter.save();
    painter.setClipRect(rect());
    mPage->mainFrame()->render(&painter, QRegion(rect()));
    painter.restore();
}

bool WebView::touchEvent(const TouchEvent& event)
{
    switch (event.kind) {
    case TouchEvent::Kind::Press:
        mPressPoint = event.position;
        mDragging = false;
        mPressStoppedGlide = mScroller->isMoving();
        break;
    case TouchEvent::Kind::Move:
        if ((event.position - mPressPoint).manhattanLength() > TapSlop)
            mDragging = true;
        break;
    case TouchEvent::Kind::Release:
        // A press that stopped a glide only stops it.
        if (!mDragging && !mPressStoppedGlide)
            click(event.position);
        break;
    case TouchEvent::Kind::Cancel: break;
    }
    mScroller->touch(event);
    return true;
}

bool WebView::takesOverTouch(const QPoint& movedBy) const
{
    return mScroller->takesOverVertical(movedBy);
}

void WebView::click(const QPoint& point)
{
    QMouseEvent press(QEvent::MouseButtonPress, point, Qt::LeftButton, Qt::LeftButton, Qt::NoModifier);
    QMouseEvent release(QEvent::MouseButtonRelease, point, Qt::LeftButton, Qt::NoButton, Qt::NoModifier);
    mPage->event(&press);
    mPage->event(&release);
}

QString WebView::describe() const
{
    return mPage->mainFrame()->title();
}

void WebView::dumpProperties(QJsonObject& out) const
{
    QWebFrame* frame = mPage->mainFrame();
    out.insert(QStringLiteral("url"), frame->url().toString());
    out.insert(QStringLiteral("pageTitle"), frame->title());
    out.insert(QStringLiteral("zoom"), frame->zoomFactor());
    out.insert(QStringLiteral("scrollY"), frame->scrollPosition().y());
}
