#include "views/WebView.h"

#include "core/Logger.h"
#include "display/DisplayDevice.h"
#include "views/KineticScroller.h"
#include "views/WebPageEngine.h"

#include <QElapsedTimer>
#include <QFileInfo>
#include <QJsonObject>
#include <QPainter>
#include <QPointer>

#include <dlfcn.h>

namespace {
// How far a finger may wander before a tap becomes a drag.
constexpr int TapSlop = 12;

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
    , mZoomFactor(zoomFactor)
    , mScroller(new KineticScroller(this))
{
    connect(mScroller, &KineticScroller::offsetChanged, this, &WebView::scrolled);
}

WebView::~WebView()
{
    // The page's requests end as it goes and report to this view: it goes while the view is whole.
    delete mEngine;
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
    return mEngine;
}

void WebView::startEngine()
{
    if (mEngine || mEngineFailed)
        return;
    QString error;
    const CreateWebPageEngine create = engineFactory(&error);
    if (!create) {
        mEngineFailed = true;
        Logger(this, "ERROR") << "No web engine, pages stay empty:" << error;
        return;
    }
    mEngine = create(this);
    mEngine->setZoomFactor(mZoomFactor);
    mEngine->setViewportSize(rect().size());
    // Only what the page repaints: a clock or a counter on a page costs its own pixels.
    connect(mEngine, &WebPageEngine::repaintNeeded, this, [this](const QRect& area) {
        DisplayDevice::requestFrame(area.intersected(rect()).translated(rootGeometry().topLeft()));
    });
    connect(mEngine, &WebPageEngine::contentsSizeChanged, this, &WebView::contentsChanged);
    connect(mEngine, &WebPageEngine::loadFinished, this, &WebView::pageLoaded);
    if (std::exchange(mLoadWaiting, false))
        mEngine->load(mWaitingUrl);
}

void WebView::load(const QUrl& url)
{
    if (!mEngine && enginesHeld) {
        mLoadWaiting = true;
        mWaitingUrl = url;
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
    mZoomFactor = factor;
    if (mEngine)
        mEngine->setZoomFactor(factor);
    contentsChanged();
}

void WebView::resized()
{
    DisplayView::resized();
    if (mEngine)
        mEngine->setViewportSize(rect().size());
    contentsChanged();
}

bool WebView::isBusy() const
{
    return mLoadWaiting || (mEngine && mEngine->isBusy());
}

void WebView::pageLoaded(bool ok)
{
    const QUrl url = mEngine->requestedUrl();
    // Unloading loads the empty address, which the engine reports as a failure.
    if (!ok && !url.isEmpty())
        Logger(this, "WARN") << "Page did not load:" << url.toString();
    mScroller->setOffset(QPointF(0, 0));
    contentsChanged();
    emit loadFinished(ok);
}

void WebView::contentsChanged()
{
    const QSize contents = mEngine ? mEngine->contentsSize() : QSize();
    mScroller->setBounds(QPointF(0, 0),
                         QPointF(qMax(0, contents.width() - width()), qMax(0, contents.height() - height())));
    update();
}

void WebView::scrolled(const QPointF& offset)
{
    if (mEngine)
        mEngine->setScrollPosition(offset.toPoint());
    update();
}

void WebView::draw(QPainter& painter)
{
    if (!mEngine)
        return;
    // The engine lays out and walks only the part being painted.
    const QRect area = painter.hasClipping() ? painter.clipBoundingRect().toAlignedRect() & rect() : rect();
    if (area.isEmpty())
        return;
    painter.save();
    painter.setClipRect(area);
    mEngine->render(painter, area);
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
        if (!mDragging && !mPressStoppedGlide && mEngine)
            mEngine->click(event.position);
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

QString WebView::describe() const
{
    return mEngine ? mEngine->title() : QString();
}

void WebView::dumpProperties(QJsonObject& out) const
{
    if (mEngine) {
        mEngine->dumpProperties(out);
    } else {
        out.insert(QStringLiteral("url"), mLoadWaiting ? mWaitingUrl.toString() : QString());
        out.insert(QStringLiteral("pageTitle"), QString());
        out.insert(QStringLiteral("scrollY"), 0);
    }
    out.insert(QStringLiteral("zoom"), mZoomFactor);
}
