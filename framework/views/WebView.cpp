#include "views/WebView.h"

#include "core/Logger.h"
#include "views/KineticScroller.h"
#include "views/ViewHost.h"
#include "views/WebPageEngine.h"

#include <QElapsedTimer>
#include <QFileInfo>
#include <QJsonObject>
#include <QPainter>
#include <QPointer>

#include <dlfcn.h>

struct WebView::Private {
    WebPageEngine* engine = nullptr;
    bool engineFailed = false;
    // A load asked for before the engine was there.
    bool loadWaiting = false;
    QUrl waitingUrl;
    qreal zoomFactor;
    KineticScroller* scroller = nullptr;
    QPoint pressPoint;
    bool dragging = false;
    bool pressStoppedGlide = false;
};

namespace {
// How far a finger may wander before a tap becomes a drag.
constexpr int TapSlop = 12;

// Qt's bearer management polls the network interfaces every 10 s for as long as a network
// access manager lives, hidden pages' included, to tell whether the device is online. These
// pages read the car's own endpoints and never ask: unless told otherwise, once a day. Set as
// this library loads, while the process has one thread: a variable added later may move the
// environment under another thread's getenv.
[[maybe_unused]] const bool bearerPollingDaily = [] {
    if (!qEnvironmentVariableIsSet("QT_BEARER_POLL_TIMEOUT"))
        qputenv("QT_BEARER_POLL_TIMEOUT", QByteArray::number(24 * 3600 * 1000));
    return true;
}();

bool enginesHeld = false;
QList<QPointer<WebView>>& viewsWaitingForRelease()
{
    static QList<QPointer<WebView>> views;
    return views;
}

// The engine's library sits beside this one; it is loaded once and stays.
CreateWebPageEngine engineFactory(QString* error)
{
    static QString loadError;
    static const CreateWebPageEngine factory = []() -> CreateWebPageEngine {
        QElapsedTimer loading;
        loading.start();
        Dl_info self{};
        dladdr(reinterpret_cast<void*>(&engineFactory), &self);
        const QString path = QFileInfo(QString::fromLocal8Bit(self.dli_fname)).absolutePath()
                             + QStringLiteral("/libOrvaneWebKit.so");
        void* library = dlopen(QFile::encodeName(path).constData(), RTLD_NOW | RTLD_LOCAL);
        void* symbol = library ? dlsym(library, CreateWebPageEngineSymbol) : nullptr;
        if (symbol)
            Logger(nullptr, "INFO") << "Web engine loaded in" << int(loading.elapsed()) << "ms";
        else
            loadError = QString::fromLocal8Bit(dlerror());
        return reinterpret_cast<CreateWebPageEngine>(symbol);
    }();
    *error = loadError;
    return factory;
}
} // namespace

WebView::WebView(DisplayView* parent, qreal zoomFactor)
    : DisplayView(parent)
    , d(new Private)
{
    d->zoomFactor = zoomFactor;
    d->scroller = new KineticScroller(this);
    connect(d->scroller, &KineticScroller::offsetChanged, this, &WebView::scrolled);
}

WebView::~WebView()
{
    // The page's requests end as it goes and report to this view: it goes while the view is whole.
    delete d->engine;
}

void WebView::holdEngines(bool hold)
{
    enginesHeld = hold;
    if (hold)
        return;
    const QList<QPointer<WebView>> waiting = std::exchange(viewsWaitingForRelease(), {});
    for (const QPointer<WebView>& view : waiting)
        if (view)
            view->startEngine();
}

WebPageEngine* WebView::engine()
{
    startEngine();
    return d->engine;
}

void WebView::startEngine()
{
    if (d->engine || d->engineFailed)
        return;
    QString error;
    const CreateWebPageEngine create = engineFactory(&error);
    if (!create) {
        d->engineFailed = true;
        Logger(this, "ERROR") << "No web engine, pages stay empty:" << error;
        return;
    }
    d->engine = create(this);
    d->engine->setZoomFactor(d->zoomFactor);
    d->engine->setViewportSize(rect().size());
    // Only what the page repaints: a clock or a counter on a page costs its own pixels.
    connect(d->engine, &WebPageEngine::repaintNeeded, this, [this](const QRect& area) {
        ViewHost::requestFrame(area.intersected(rect()).translated(rootGeometry().topLeft()));
    });
    connect(d->engine, &WebPageEngine::contentsSizeChanged, this, &WebView::contentsChanged);
    connect(d->engine, &WebPageEngine::loadFinished, this, &WebView::pageLoaded);
    if (std::exchange(d->loadWaiting, false))
        d->engine->load(d->waitingUrl);
}

void WebView::load(const QUrl& url)
{
    if (!d->engine && enginesHeld) {
        d->loadWaiting = true;
        d->waitingUrl = url;
        if (!viewsWaitingForRelease().contains(this))
            viewsWaitingForRelease().append(this);
        return;
    }
    if (WebPageEngine* engine = this->engine())
        engine->load(url);
}

QWebFrame* WebView::currentFrame()
{
    WebPageEngine* engine = this->engine();
    return engine ? engine->mainFrame() : nullptr;
}

QWebPage* WebView::page()
{
    WebPageEngine* engine = this->engine();
    return engine ? engine->page() : nullptr;
}

void WebView::setZoomFactor(qreal factor)
{
    d->zoomFactor = factor;
    if (d->engine)
        d->engine->setZoomFactor(factor);
    contentsChanged();
}

void WebView::resized()
{
    DisplayView::resized();
    if (d->engine)
        d->engine->setViewportSize(rect().size());
    contentsChanged();
}

bool WebView::isBusy() const
{
    return d->loadWaiting || (d->engine && d->engine->isBusy());
}

void WebView::pageLoaded(bool ok)
{
    const QUrl url = d->engine->requestedUrl();
    // Unloading loads the empty address, which the engine reports as a failure.
    if (!ok && !url.isEmpty())
        Logger(this, "WARN") << "Page did not load:" << url.toString();
    d->scroller->setOffset(QPointF(0, 0));
    contentsChanged();
    emit loadFinished(ok);
}

void WebView::contentsChanged()
{
    const QSize contents = d->engine ? d->engine->contentsSize() : QSize();
    d->scroller->setBounds(QPointF(0, 0),
                         QPointF(qMax(0, contents.width() - width()), qMax(0, contents.height() - height())));
    update();
}

void WebView::scrolled(const QPointF& offset)
{
    if (d->engine)
        d->engine->setScrollPosition(offset.toPoint());
    update();
}

void WebView::draw(QPainter& painter)
{
    if (!d->engine)
        return;
    // The engine lays out and walks only the part being painted.
    const QRect area = painter.hasClipping() ? painter.clipBoundingRect().toAlignedRect() & rect() : rect();
    if (area.isEmpty())
        return;
    painter.save();
    painter.setClipRect(area);
    d->engine->render(painter, area);
    painter.restore();
}

bool WebView::touchEvent(const TouchEvent& event)
{
    switch (event.kind) {
    case TouchEvent::Kind::Press:
        d->pressPoint = event.position;
        d->dragging = false;
        d->pressStoppedGlide = d->scroller->isMoving();
        break;
    case TouchEvent::Kind::Move:
        if ((event.position - d->pressPoint).manhattanLength() > TapSlop)
            d->dragging = true;
        break;
    case TouchEvent::Kind::Release:
        // A press that stopped a glide only stops it.
        if (!d->dragging && !d->pressStoppedGlide && d->engine)
            d->engine->click(event.position);
        break;
    case TouchEvent::Kind::Cancel: break;
    }
    d->scroller->touch(event);
    return true;
}

bool WebView::takesOverTouch(const QPoint& movedBy) const
{
    return d->scroller->takesOverVertical(movedBy);
}

QString WebView::describe() const
{
    return d->engine ? d->engine->title() : QString();
}

void WebView::dumpProperties(QJsonObject& out) const
{
    if (d->engine) {
        d->engine->dumpProperties(out);
    } else {
        out.insert(QStringLiteral("url"), d->loadWaiting ? d->waitingUrl.toString() : QString());
        out.insert(QStringLiteral("pageTitle"), QString());
        out.insert(QStringLiteral("scrollY"), 0);
    }
    out.insert(QStringLiteral("zoom"), d->zoomFactor);
}

qreal WebView::zoomFactor() const
{
    return d->zoomFactor;
}

KineticScroller* WebView::scroller() const
{
    return d->scroller;
}
