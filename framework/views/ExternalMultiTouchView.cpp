#include "views/ExternalMultiTouchView.h"

#include "core/ConfigValue.h"
#include "services/X11Utils.h"
#include "views/KineticScroller.h"
#include "views/ViewHost.h"

#include <QPainter>

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
    , mScroller(new KineticScroller(this))
{
    mScroller->setBounds(QPointF(-kUnbounded, -kUnbounded), QPointF(kUnbounded, kUnbounded));
    connect(mScroller, &KineticScroller::offsetChanged, this, &ExternalMultiTouchView::scrollerMoved);
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
    const unsigned long window = findX11Window(mWindow);
    if (window == mWindow)
        return;
    mLayer.reset();
    mWindow = window;
    ViewHost* host = ViewHost::instance();
    if (window && host)
        mLayer = host->windowContent(window);
    if (mLayer)
        connect(mLayer.get(), &WindowContent::changed, this, [this] { ViewHost::requestFrame(rootGeometry()); });
    placeWindow();
    update();
}

void ExternalMultiTouchView::setRequiredTouchGesture(int kind, bool required)
{
    if (required)
        mGestures |= 1u << kind;
    else
        mGestures &= ~(1u << kind);
}

void ExternalMultiTouchView::setCanHaveKeyFocus(bool can, bool grab)
{
    mCanHaveKeyFocus = can;
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
    if (!mWindow)
        return;
    X11Utils::moveResizeWindow(mWindow, rootGeometry());
    // Redirected, it is seen only through the view; below the UI it takes no pointer from it.
    if (mLayer)
        lowerX11Window(mWindow);
}

void ExternalMultiTouchView::draw(QPainter& painter)
{
    DisplayView::draw(painter);
    if (!mLayer)
        return;
    const QImage& content = mLayer->content();
    if (!content.isNull())
        painter.drawImage(QPoint(0, 0), content);
}

bool ExternalMultiTouchView::touchEvent(const TouchEvent& event)
{
    const QPoint at = event.position;
    switch (event.kind) {
    case TouchEvent::Kind::Press:
        // A touch that stops a glide only stops it.
        mTapAllowed = !mScroller->press(at);
        mPressAt = mFingerAt = at;
        mDragging = mScrolling = false;
        mGestureOrigin = mScroller->offset();
        mGliding = false;
        mSent = QPoint();
        mScale = ScrollScale.value();
        mScroller->setGlideDuration(qRound(ScrollDuration.value() * 1000));
        return true;
    case TouchEvent::Kind::Move:
        mFingerAt = at;
        if (!mDragging && (at - mPressAt).manhattanLength() >= kDragThreshold)
            mDragging = mScrolling = true;
        mScroller->move(at);
        return true;
    case TouchEvent::Kind::Release:
        mFingerAt = at;
        if (mDragging) {
            mReleasedAt = mScroller->offset();
            mGliding = true;
            mScroller->release(at);
        } else {
            mScroller->cancel();
            if (mTapAllowed)
                tapped(mPressAt);
        }
        mDragging = false;
        return true;
    case TouchEvent::Kind::Cancel:
        mScroller->cancel();
        mDragging = mScrolling = false;
        return true;
    }
    return false;
}

void ExternalMultiTouchView::scrollerMoved(const QPointF& offset)
{
    if (!mScrolling)
        return;
    // The content stays under the finger; what it throws on lifting glides on, scaled. Whole
    // steps of the way since the press, so rounding never adds up.
    const QPointF moved = mGliding ? (mGestureOrigin - mReleasedAt) + (mReleasedAt - offset) * mScale
                                   : mGestureOrigin - offset;
    const QPoint target(qRound(moved.x()), qRound(moved.y()));
    const QPoint step = target - mSent;
    if (step.isNull())
        return;
    mSent = target;
    scrolled(step, mFingerAt);
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
