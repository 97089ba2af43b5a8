#include "display/DisplayDevice.h"

#include "views/DisplayView.h"

#include <QKeyEvent>
#include <QPainter>
#include <QTimer>

namespace {
DisplayDevice* gDisplay = nullptr;
}

DisplayDevice::DisplayDevice(DisplayView* root, const QSize& size)
    : mRoot(root)
    , mSize(size)
{
    gDisplay = this;
}

DisplayDevice::~DisplayDevice()
{
    if (gDisplay == this)
        gDisplay = nullptr;
}

void DisplayDevice::setRoot(DisplayView* root)
{
    mRoot = root;
    mTouchGrab = nullptr;
    mKeyFocus = nullptr;
    requestFrame();
}

DisplayDevice* DisplayDevice::instance()
{
    return gDisplay;
}

QImage DisplayDevice::render() const
{
    QImage image(mSize, QImage::Format_RGB32);
    image.fill(Qt::black);
    QPainter painter(&image);
    paint(painter);
    return image;
}

void DisplayDevice::paint(QPainter& painter) const
{
    ++mFrameCount;
    if (mRoot)
        paintView(painter, mRoot);
}

void DisplayDevice::paintView(QPainter& painter, DisplayView* view) const
{
    if (!view->isVisible())
        return;
    painter.save();
    painter.translate(view->geometry().topLeft());
    painter.setClipRect(view->rect(), Qt::IntersectClip);
    if (!view->isEffectivelyEnabled())
        painter.setOpacity(painter.opacity() * 0.4);
    view->draw(painter);
    for (DisplayView* child : view->childViews())
        paintView(painter, child);
    painter.restore();
}

void DisplayDevice::touch(int kind, const QPoint& rootPosition)
{
    if (!mRoot)
        return;
    const auto k = TouchEvent::Kind(kind);
    if (k == TouchEvent::Kind::Press) {
        mTouchGrab = nullptr;
        // The deepest view first; a view that ignores the press passes it to its parent.
        for (DisplayView* v = mRoot->viewAt(rootPosition - mRoot->geometry().topLeft()); v; v = v->parentView()) {
            const QPoint local = rootPosition - v->rootGeometry().topLeft();
            if (v->touchEvent({k, local})) {
                mTouchGrab = v;
                break;
            }
        }
        return;
    }
    if (!mTouchGrab)
        return;
    DisplayView* target = mTouchGrab;
    if (k == TouchEvent::Kind::Release)
        mTouchGrab = nullptr;
    target->touchEvent({k, rootPosition - target->rootGeometry().topLeft()});
}

void DisplayDevice::tap(const QPoint& rootPosition)
{
    touch(int(TouchEvent::Kind::Press), rootPosition);
    touch(int(TouchEvent::Kind::Release), rootPosition);
}

void DisplayDevice::key(QKeyEvent* event)
{
    for (DisplayView* v = mKeyFocus; v; v = v->parentView()) {
        if (v->isShown() && v->keyEvent(event))
            return;
    }
}

void DisplayDevice::requestFrame()
{
    if (!gDisplay || gDisplay->mFramePending)
        return;
    gDisplay->mFramePending = true;
    QTimer::singleShot(0, gDisplay, [] {
        if (!gDisplay)
            return;
        gDisplay->mFramePending = false;
        emit gDisplay->frameRequested();
    });
}

void DisplayDevice::setKeyFocus(DisplayView* view)
{
    if (gDisplay)
        gDisplay->mKeyFocus = view;
}

DisplayView* DisplayDevice::keyFocus()
{
    return gDisplay ? gDisplay->mKeyFocus : nullptr;
}

void DisplayDevice::viewDestroyed(DisplayView* view)
{
    if (!gDisplay)
        return;
    if (gDisplay->mTouchGrab == view)
        gDisplay->mTouchGrab = nullptr;
    if (gDisplay->mKeyFocus == view)
        gDisplay->mKeyFocus = nullptr;
    if (gDisplay->mRoot == view)
        gDisplay->mRoot = nullptr;
}
