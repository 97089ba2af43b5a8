#include "views/ExternalMultiTouchView.h"

#include "core/ConfigValue.h"
#include "services/X11Utils.h"
#include "views/KineticScroller.h"
#include "views/ViewHost.h"

#include <QPainter>

struct ExternalMultiTouchView::Private {
    unsigned long window = 0;
    std::unique_ptr<WindowContent> layer;
    KineticScroller* scroller = nullptr;
    QPoint pressAt;
    QPoint fingerAt;
    bool tapAllowed = false;
    bool dragging = false;
    // From the start of a drag to the next touch: the scroller's moves become wheel steps.
    bool scrolling = false;
    QPointF gestureOrigin;
    // Where the finger lifted, once the scroller glides on.
    QPointF releasedAt;
    bool gliding = false;
    double scale = 1;
    QPoint sent;
    unsigned gestures = 0;
    bool canHaveKeyFocus = false;
};

namespace {
// The browser plug-in exports these for its host; the host reads them here.
ConfigRealValue ScrollScale(QStringLiteral("chromium/scroll_scale"), 10.0);
ConfigRealValue ScrollDuration(QStringLiteral("chromium/scroll_duration"), 1.5);

// Beyond this a finger drags instead of tapping.
const int kDragThreshold = 8;
// The wheel has no end: the content decides how far it goes.
const qreal kUnbounded = 1e9;
} // namespace

ExternalMultiTouchView::ExternalMultiTouchView(DisplayView* parent)
    : DisplayView(parent)
    , d(new Private)
{
    d->scroller = new KineticScroller(this);
    d->scroller->setBounds(QPointF(-kUnbounded, -kUnbounded), QPointF(kUnbounded, kUnbounded));
    connect(d->scroller, &KineticScroller::offsetChanged, this, &ExternalMultiTouchView::scrollerMoved);
    connect(this, &DisplayView::moved, this, [this] { placeWindow(); });
}

ExternalMultiTouchView::~ExternalMultiTouchView() = default;

unsigned long ExternalMultiTouchView::findX11Window(unsigned long current)
{
    (void)current;
    return 0;
}

void ExternalMultiTouchView::lowerX11Window(unsigned long window)
{
    X11Utils::lowerWindow(window);
}

void ExternalMultiTouchView::resetLayerIfNecessary()
{
    const unsigned long window = findX11Window(d->window);
    if (window == d->window)
        return;
    d->layer.reset();
    d->window = window;
    ViewHost* host = ViewHost::instance();
    if (window && host)
        d->layer = host->windowContent(window);
    if (d->layer)
        connect(d->layer.get(), &WindowContent::changed, this, [this] { ViewHost::requestFrame(rootGeometry()); });
    placeWindow();
    update();
}

void ExternalMultiTouchView::setRequiredTouchGesture(int kind, bool required)
{
    if (required)
        d->gestures |= 1u << kind;
    else
        d->gestures &= ~(1u << kind);
}

void ExternalMultiTouchView::setCanHaveKeyFocus(bool can, bool grab)
{
    d->canHaveKeyFocus = can;
    if (can && grab)
        setKeyFocus();
}

void ExternalMultiTouchView::resized()
{
    DisplayView::resized();
    placeWindow();
}

void ExternalMultiTouchView::placeWindow()
{
    if (!d->window)
        return;
    X11Utils::moveResizeWindow(d->window, rootGeometry());
    // Redirected, it is seen only through the view; below the UI it takes no pointer from it.
    if (d->layer)
        lowerX11Window(d->window);
}

void ExternalMultiTouchView::draw(QPainter& painter)
{
    DisplayView::draw(painter);
    if (!d->layer)
        return;
    const QImage& content = d->layer->content();
    if (!content.isNull())
        painter.drawImage(QPoint(0, 0), content);
}

bool ExternalMultiTouchView::touchEvent(const TouchEvent& event)
{
    const QPoint at = event.position;
    switch (event.kind) {
    case TouchEvent::Kind::Press:
        // A touch that stops a glide only stops it.
        d->tapAllowed = !d->scroller->press(at);
        d->pressAt = d->fingerAt = at;
        d->dragging = d->scrolling = false;
        d->gestureOrigin = d->scroller->offset();
        d->gliding = false;
        d->sent = QPoint();
        d->scale = ScrollScale.value();
        d->scroller->setGlideDuration(qRound(ScrollDuration.value() * 1000));
        return true;
    case TouchEvent::Kind::Move:
        d->fingerAt = at;
        if (!d->dragging && (at - d->pressAt).manhattanLength() >= kDragThreshold)
            d->dragging = d->scrolling = true;
        d->scroller->move(at);
        return true;
    case TouchEvent::Kind::Release:
        d->fingerAt = at;
        if (d->dragging) {
            d->releasedAt = d->scroller->offset();
            d->gliding = true;
            d->scroller->release(at);
        } else {
            d->scroller->cancel();
            if (d->tapAllowed)
                tapped(d->pressAt);
        }
        d->dragging = false;
        return true;
    case TouchEvent::Kind::Cancel:
        d->scroller->cancel();
        d->dragging = d->scrolling = false;
        return true;
    }
    return false;
}

void ExternalMultiTouchView::scrollerMoved(const QPointF& offset)
{
    if (!d->scrolling)
        return;
    // The content stays under the finger; what it throws on lifting glides on, scaled. Whole
    // steps of the way since the press, so rounding never adds up.
    const QPointF moved = d->gliding ? (d->gestureOrigin - d->releasedAt) + (d->releasedAt - offset) * d->scale
                                   : d->gestureOrigin - offset;
    const QPoint target(qRound(moved.x()), qRound(moved.y()));
    const QPoint step = target - d->sent;
    if (step.isNull())
        return;
    d->sent = target;
    scrolled(step, d->fingerAt);
}

void ExternalMultiTouchView::tapped(const QPoint& position)
{
    (void)position;
}

void ExternalMultiTouchView::scrolled(const QPoint& delta, const QPoint& position)
{
    (void)delta;
    (void)position;
}

unsigned long ExternalMultiTouchView::nativeWindow() const
{
    return d->window;
}

bool ExternalMultiTouchView::isComposited() const
{
    return d->layer != nullptr;
}

bool ExternalMultiTouchView::requiresTouchGesture(int kind) const
{
    return d->gestures & (1u << kind);
}

bool ExternalMultiTouchView::canHaveKeyFocus() const
{
    return d->canHaveKeyFocus;
}

KineticScroller* ExternalMultiTouchView::scroller() const
{
    return d->scroller;
}
