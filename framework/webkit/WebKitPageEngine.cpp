#include "webkit/WebKitPageEngine.h"

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

WebKitPageEngine::WebKitPageEngine(QObject* parent)
    : WebPageEngine(parent)
    , mPage(new QWebPage(this))
{
    // Local pages shipped with the car (the vitals dashboard) read the car's own endpoints.
    mPage->settings()->setAttribute(QWebSettings::LocalContentCanAccessRemoteUrls, true);
    QWebFrame* frame = mPage->mainFrame();
    // The finger scrolls through the view's kinetic scroller; the engine draws no scroll bars.
    frame->setScrollBarPolicy(Qt::Vertical, Qt::ScrollBarAlwaysOff);
    frame->setScrollBarPolicy(Qt::Horizontal, Qt::ScrollBarAlwaysOff);
    connect(mPage, &QWebPage::repaintRequested, this, &WebPageEngine::repaintNeeded);
    connect(mPage, &QWebPage::scrollRequested, this,
            [this](int, int, const QRect& scrolled) { emit repaintNeeded(scrolled); });
    connect(frame, &QWebFrame::contentsSizeChanged, this, &WebPageEngine::contentsSizeChanged);
    connect(frame, &QWebFrame::loadStarted, this, [this] { mLoading = true; });
    connect(frame, &QWebFrame::loadFinished, this, [this](bool ok) {
        mLoading = false;
        emit loadFinished(ok);
    });
    mPage->setNetworkAccessManager(
        new CountingNetworkAccess(mPage, [this](int change) { mRequestsInFlight += change; }));
}

WebKitPageEngine::~WebKitPageEngine()
{
    // The page's requests end as it goes and count down here: it goes while the engine is whole.
    delete mPage;
}

QWebFrame* WebKitPageEngine::mainFrame() const
{
    return mPage->mainFrame();
}

void WebKitPageEngine::load(const QUrl& url)
{
    mPage->mainFrame()->load(url);
}

bool WebKitPageEngine::isBusy() const
{
    return mLoading || mRequestsInFlight > 0;
}

void WebKitPageEngine::setZoomFactor(qreal factor)
{
    mPage->mainFrame()->setZoomFactor(factor);
}

void WebKitPageEngine::setViewportSize(const QSize& size)
{
    mPage->setViewportSize(size);
}

QSize WebKitPageEngine::contentsSize() const
{
    return mPage->mainFrame()->contentsSize();
}

void WebKitPageEngine::setScrollPosition(const QPoint& position)
{
    mPage->mainFrame()->setScrollPosition(position);
}

void WebKitPageEngine::render(QPainter& painter, const QRect& area)
{
    mPage->mainFrame()->render(&painter, QRegion(area));
}

void WebKitPageEngine::click(const QPoint& point)
{
    QMouseEvent press(QEvent::MouseButtonPress, point, Qt::LeftButton, Qt::LeftButton, Qt::NoModifier);
    QMouseEvent release(QEvent::MouseButtonRelease, point, Qt::LeftButton, Qt::NoButton, Qt::NoModifier);
    mPage->event(&press);
    mPage->event(&release);
}

QString WebKitPageEngine::title() const
{
    return mPage->mainFrame()->title();
}

QUrl WebKitPageEngine::requestedUrl() const
{
    return mPage->mainFrame()->requestedUrl();
}

void WebKitPageEngine::dumpProperties(QJsonObject& out) const
{
    QWebFrame* frame = mPage->mainFrame();
    out.insert(QStringLiteral("url"), frame->url().toString());
    out.insert(QStringLiteral("pageTitle"), frame->title());
    out.insert(QStringLiteral("scrollY"), frame->scrollPosition().y());
}

extern "C" ORVANE_EXPORT WebPageEngine* orvaneCreateWebPageEngine(QObject* parent)
{
    return new WebKitPageEngine(parent);
}
