#include "views/DisplayView.h"

#include "core/DataValue.h"
#include "core/DataValueBinding.h"
#include "core/Logger.h"
#include "views/ViewHost.h"

#include <QEasingCurve>
#include <QKeyEvent>
#include <QTimer>
#include <QVariantAnimation>

DisplayView::DisplayView(DisplayView* parent)
    : QObject(parent)
    , mParentView(parent)
{
    if (mParentView) {
        mParentView->mChildren.append(this);
        mParentView->update();
    }
}

DisplayView::~DisplayView()
{
    ViewHost::viewDestroyed(this);
    if (mParentView) {
        mParentView->mChildren.removeAll(this);
        mParentView->update();
    }
    // Children are QObject children and die with us; keep them from touching us meanwhile.
    for (DisplayView* child : qAsConst(mChildren))
        child->mParentView = nullptr;
}

QPoint DisplayView::mapToRoot(const QPoint& local) const
{
    QPoint p = local;
    for (const DisplayView* v = this; v; v = v->mParentView)
        p += v->geometry().topLeft();
    return p;
}

QRect DisplayView::rootGeometry() const
{
    return QRect(mapToRoot(QPoint(0, 0)), geometry().size());
}

void DisplayView::deferGeometry()
{
    if (mGeometryDeferred)
        return;
    mGeometryDeferred = true;
    if (mParentView)
        mParentView->childGeometryDeferred(this);
}

void DisplayView::childGeometryDeferred(DisplayView*)
{
}

void DisplayView::settleDeferred() const
{
    // Settling works out what the geometry already is, so a read may do it.
    auto* self = const_cast<DisplayView*>(this);
    if (mParentView && mParentView->mGeometryDeferred)
        mParentView->settleDeferred();
    if (mGeometryDeferred) {
        self->mGeometryDeferred = false;
        self->settleGeometry();
    }
}

void DisplayView::settleShownTree()
{
    settle();
    const QVector<DisplayView*> children = mChildren;
    for (DisplayView* child : children) {
        if (child->mVisible)
            child->settleShownTree();
    }
}

void DisplayView::moveTo(int x, int y, int easeType, int timeMs, int delayMs)
{
    settle();
    QRect target = mAnimation ? mAnimation->endValue().toRect() : mGeometry;
    target.moveTo(x, y);
    animateTo(target, easeType, timeMs, delayMs);
}

void DisplayView::resize(int width, int height, int easeType, int timeMs, int delayMs)
{
    settle();
    QRect target = mAnimation ? mAnimation->endValue().toRect() : mGeometry;
    target.setSize(QSize(qMax(0, width), qMax(0, height)));
    animateTo(target, easeType, timeMs, delayMs);
}

void DisplayView::setGeometry(const QRect& geometry)
{
    animateTo(geometry, Linear, 0, 0);
}

void DisplayView::animateTo(const QRect& target, int easeType, int timeMs, int delayMs)
{
    settle();
    if (mAnimation) {
        mAnimation->stop();
        mAnimation->deleteLater();
        mAnimation = nullptr;
    }
    if (easeType == Linear && timeMs <= 0 && delayMs <= 0) {
        applyGeometry(target);
        return;
    }
    auto* animation = new QVariantAnimation(this);
    mAnimation = animation;
    animation->setStartValue(mGeometry);
    animation->setEndValue(target);
    animation->setDuration(qMax(1, timeMs));
    switch (easeType) {
    case EaseInOut: animation->setEasingCurve(QEasingCurve::InOutQuad); break;
    case EaseOut: animation->setEasingCurve(QEasingCurve::OutQuad); break;
    case EaseIn: animation->setEasingCurve(QEasingCurve::InQuad); break;
    default: animation->setEasingCurve(QEasingCurve::Linear); break;
    }
    connect(animation, &QVariantAnimation::valueChanged, this, [this](const QVariant& v) { applyGeometry(v.toRect()); });
    connect(animation, &QVariantAnimation::finished, this, [this, animation, target] {
        applyGeometry(target);
        if (mAnimation == animation)
            mAnimation = nullptr;
        animation->deleteLater();
    });
    if (delayMs > 0)
        QTimer::singleShot(delayMs, animation, [animation] { animation->start(); });
    else
        animation->start();
}

void DisplayView::applyGeometry(const QRect& target)
{
    const QRect old = mGeometry;
    if (old == target)
        return;
    mGeometry = target;
    if (mParentView)
        mParentView->update();
    update();
    if (old.topLeft() != target.topLeft())
        emit moved(this);
    if (old.size() != target.size()) {
        resized();
        emit resized(this);
        fitAutoResizedChildren();
    }
}

void DisplayView::setAutoResizeToParent(bool on)
{
    mAutoResizeToParent = on;
    if (on)
        parentResized();
}

void DisplayView::setAutoResizeToParent(const QRect& percent)
{
    mAutoResizePercent = percent;
    setAutoResizeToParent(true);
}

void DisplayView::parentResized()
{
    if (!mParentView)
        return;
    const Padding m = mParentView->mMargin;
    const int width = mParentView->width() - m.left - m.right;
    const int height = mParentView->height() - m.top - m.bottom;
    const QRect& p = mAutoResizePercent;
    setGeometry(QRect(m.left + width * p.x() / 100, m.top + height * p.y() / 100, width * p.width() / 100,
                      height * p.height() / 100));
}

void DisplayView::setLayoutMargin(const Padding& margin)
{
    mMargin = margin;
    fitAutoResizedChildren();
    resized();
}

void DisplayView::fitAutoResizedChildren()
{
    for (DisplayView* child : qAsConst(mChildren)) {
        if (child->mAutoResizeToParent)
            child->parentResized();
    }
}

void DisplayView::resized()
{
}

void DisplayView::show(bool visible)
{
    if (mVisible == visible)
        return;
    mVisible = visible;
    if (!visible)
        ViewHost::viewWithdrawn(this);
    else if (isShown())
        settleShownTree();
    if (mParentView)
        mParentView->update();
    update();
    emit visibilityChanged(this);
}

bool DisplayView::isShown() const
{
    for (const DisplayView* v = this; v; v = v->mParentView) {
        if (!v->mVisible)
            return false;
    }
    return true;
}

void DisplayView::enable(bool on, bool redraw)
{
    if (mEnabled == on)
        return;
    mEnabled = on;
    if (!on)
        ViewHost::viewWithdrawn(this);
    if (redraw)
        update();
    if (on)
        emit enabled(this);
    else
        emit disabled(this);
}

bool DisplayView::isEffectivelyEnabled() const
{
    for (const DisplayView* v = this; v; v = v->mParentView) {
        if (!v->mEnabled)
            return false;
    }
    return true;
}

void DisplayView::draw(QPainter&)
{
}

void DisplayView::dumpProperties(QJsonObject&) const
{
}

void DisplayView::update()
{
    ViewHost::requestFrame();
}

bool DisplayView::touchEvent(const TouchEvent&)
{
    return false;
}

bool DisplayView::takesOverTouch(const QPoint&) const
{
    return false;
}

bool DisplayView::isChildOf(const DisplayView* ancestor) const
{
    for (const DisplayView* v = this; v; v = v->mParentView) {
        if (v == ancestor)
            return true;
    }
    return false;
}

bool DisplayView::keyEvent(QKeyEvent*)
{
    return false;
}

void DisplayView::setKeyFocus()
{
    ViewHost::setKeyFocus(this);
}

void DisplayView::lostKeyFocus()
{
}

bool DisplayView::hasKeyFocus() const
{
    return ViewHost::keyFocus() == this;
}

DisplayView* DisplayView::viewAt(const QPoint& local)
{
    if (!mVisible || !mEnabled || mTouchTransparent || !rect().contains(local))
        return nullptr;
    // Later children are painted on top, so they are hit first.
    for (int i = mChildren.size() - 1; i >= 0; --i) {
        DisplayView* child = mChildren[i];
        if (DisplayView* hit = child->viewAt(local - child->geometry().topLeft()))
            return hit;
    }
    return this;
}

bool DisplayView::dvConnect(DataValue* value, QObject* receiver, const char* slot, bool callNow)
{
    return DataValueBinding::connectSlot(value, receiver, slot, callNow);
}
