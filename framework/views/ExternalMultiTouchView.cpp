#include "views/ExternalMultiTouchView.h"

#include "services/X11Utils.h"

ExternalMultiTouchView::ExternalMultiTouchView(DisplayView* parent)
    : DisplayView(parent)
{
    connect(this, &DisplayView::moved, this, [this] { placeWindow(); });
}

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
    mWindow = window;
    placeWindow();
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
    if (mWindow)
        X11Utils::moveResizeWindow(mWindow, rootGeometry());
}

namespace {
// Beyond this a finger drags instead of tapping.
const int kDragThreshold = 8;
} // namespace

bool ExternalMultiTouchView::touchEvent(const TouchEvent& event)
{
    switch (event.kind) {
    case TouchEvent::Kind::Press:
        mPressAt = mLastAt = event.position;
        mDragging = false;
        return true;
    case TouchEvent::Kind::Move:
        if (!mDragging && (event.position - mPressAt).manhattanLength() < kDragThreshold)
            return true;
        mDragging = true;
        scrolled(event.position - mLastAt, event.position);
        mLastAt = event.position;
        return true;
    case TouchEvent::Kind::Release:
        if (!mDragging)
            tapped(mPressAt);
        mDragging = false;
        return true;
    case TouchEvent::Kind::Cancel:
        mDragging = false;
        return true;
    }
    return false;
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
