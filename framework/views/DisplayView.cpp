#include "views/DisplayView.h"

#include "core/DataValue.h"
#include "core/DataValueBinding.h"
#include "core/Logger.h"
#include "views/ViewHost.h"

#include <QEasingCurve>
#include <QKeyEvent>
#include <QTimer>
#include <QVariantAnimation>

struct DisplayView::Private {
    explicit Private(DisplayView* parent)
        : parentView(parent)
    {
    }

    DisplayView* parentView;
    QVector<DisplayView*> children;
    QRect geometry;
    Padding margin;
    bool visible = true;
    bool enabled = true;
    bool autoResizeToParent = false;
    QRect autoResizePercent{0, 0, 100, 100};
    bool touchTransparent = false;
    bool geometryDeferred = false;
    QVariantAnimation* animation = nullptr;
};

DisplayView::DisplayView(DisplayView* parent)
    : QObject(parent)
    , d(std::make_unique<Private>(parent))
{
    if (d->parentView) {
        d->parentView->d->children.append(this);
        d->parentView->update();
    }
}

DisplayView::~DisplayView()
{
    ViewHost::viewDestroyed(this);
    if (d->parentView) {
        d->parentView->d->children.removeAll(this);
        d->parentView->update();
    }
    // Children are QObject children and die with us; keep them from touching us meanwhile.
    for (DisplayView* child : qAsConst(d->children))
        child->d->parentView = nullptr;
}

DisplayView* DisplayView::parentView() const
{
    return d->parentView;
}

const QVector<DisplayView*>& DisplayView::childViews() const
{
    return d->children;
}

QRect DisplayView::geometry() const
{
    settle();
    return d->geometry;
}

QRect DisplayView::unsettledGeometry() const
{
    return d->geometry;
}

QPoint DisplayView::mapToRoot(const QPoint& local) const
{
    QPoint p = local;
    for (const DisplayView* v = this; v; v = v->d->parentView)
        p += v->geometry().topLeft();
    return p;
}

QRect DisplayView::rootGeometry() const
{
    return QRect(mapToRoot(QPoint(0, 0)), geometry().size());
}

void DisplayView::deferGeometry()
{
    if (d->geometryDeferred)
        return;
    d->geometryDeferred = true;
    if (d->parentView)
        d->parentView->childGeometryDeferred(this);
}

bool DisplayView::geometryDeferred() const
{
    return d->geometryDeferred;
}

void DisplayView::childGeometryDeferred(DisplayView*)
{
}

void DisplayView::settle() const
{
    if (d->geometryDeferred || (d->parentView && d->parentView->d->geometryDeferred))
        settleDeferred();
}

void DisplayView::settleDeferred() const
{
    // Settling works out what the geometry already is, so a read may do it.
    auto* self = const_cast<DisplayView*>(this);
    if (d->parentView && d->parentView->d->geometryDeferred)
        d->parentView->settleDeferred();
    if (d->geometryDeferred) {
        self->d->geometryDeferred = false;
        self->settleGeometry();
    }
}

void DisplayView::settleShownTree()
{
    settle();
    const QVector<DisplayView*> children = d->children;
    for (DisplayView* child : children) {
        if (child->d->visible)
            child->settleShownTree();
    }
}

void DisplayView::moveTo(int x, int y, int easeType, int timeMs, int delayMs)
{
    settle();
    QRect target = d->animation ? d->animation->endValue().toRect() : d->geometry;
    target.moveTo(x, y);
    animateTo(target, easeType, timeMs, delayMs);
}

void DisplayView::resize(int width, int height, int easeType, int timeMs, int delayMs)
{
    settle();
    QRect target = d->animation ? d->animation->endValue().toRect() : d->geometry;
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
    if (d->animation) {
        d->animation->stop();
        d->animation->deleteLater();
        d->animation = nullptr;
    }
    if (easeType == Linear && timeMs <= 0 && delayMs <= 0) {
        applyGeometry(target);
        return;
    }
    auto* animation = new QVariantAnimation(this);
    d->animation = animation;
    animation->setStartValue(d->geometry);
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
        if (d->animation == animation)
            d->animation = nullptr;
        animation->deleteLater();
    });
    if (delayMs > 0)
        QTimer::singleShot(delayMs, animation, [animation] { animation->start(); });
    else
        animation->start();
}

void DisplayView::applyGeometry(const QRect& target)
{
    const QRect old = d->geometry;
    if (old == target)
        return;
    d->geometry = target;
    if (d->parentView)
        d->parentView->update();
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
    d->autoResizeToParent = on;
    if (on)
        parentResized();
}

void DisplayView::setAutoResizeToParent(const QRect& percent)
{
    d->autoResizePercent = percent;
    setAutoResizeToParent(true);
}

bool DisplayView::autoResizeToParent() const
{
    return d->autoResizeToParent;
}

void DisplayView::parentResized()
{
    if (!d->parentView)
        return;
    const Padding m = d->parentView->d->margin;
    const int width = d->parentView->width() - m.left - m.right;
    const int height = d->parentView->height() - m.top - m.bottom;
    const QRect& p = d->autoResizePercent;
    setGeometry(QRect(m.left + width * p.x() / 100, m.top + height * p.y() / 100, width * p.width() / 100,
                      height * p.height() / 100));
}

Padding DisplayView::layoutMargin() const
{
    return d->margin;
}

void DisplayView::setLayoutMargin(const Padding& margin)
{
    d->margin = margin;
    fitAutoResizedChildren();
    resized();
}

void DisplayView::fitAutoResizedChildren()
{
    for (DisplayView* child : qAsConst(d->children)) {
        if (child->d->autoResizeToParent)
            child->parentResized();
    }
}

void DisplayView::resized()
{
}

void DisplayView::show(bool visible)
{
    if (d->visible == visible)
        return;
    d->visible = visible;
    if (!visible)
        ViewHost::viewWithdrawn(this);
    else if (isShown())
        settleShownTree();
    if (d->parentView)
        d->parentView->update();
    update();
    emit visibilityChanged(this);
}

bool DisplayView::isVisible() const
{
    return d->visible;
}

bool DisplayView::isShown() const
{
    for (const DisplayView* v = this; v; v = v->d->parentView) {
        if (!v->d->visible)
            return false;
    }
    return true;
}

void DisplayView::enable(bool on, bool redraw)
{
    if (d->enabled == on)
        return;
    d->enabled = on;
    if (!on)
        ViewHost::viewWithdrawn(this);
    if (redraw)
        update();
    if (on)
        emit enabled(this);
    else
        emit disabled(this);
}

bool DisplayView::isEnabled() const
{
    return d->enabled;
}

bool DisplayView::isEffectivelyEnabled() const
{
    for (const DisplayView* v = this; v; v = v->d->parentView) {
        if (!v->d->enabled)
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
    for (const DisplayView* v = this; v; v = v->d->parentView) {
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

void DisplayView::setTouchTransparent(bool on)
{
    d->touchTransparent = on;
}

DisplayView* DisplayView::viewAt(const QPoint& local)
{
    if (!d->visible || !d->enabled || d->touchTransparent || !rect().contains(local))
        return nullptr;
    // Later children are painted on top, so they are hit first.
    for (int i = d->children.size() - 1; i >= 0; --i) {
        DisplayView* child = d->children[i];
        if (DisplayView* hit = child->viewAt(local - child->geometry().topLeft()))
            return hit;
    }
    return this;
}

bool DisplayView::dvConnect(DataValue* value, QObject* receiver, const char* slot, bool callNow)
{
    return DataValueBinding::connectSlot(value, receiver, slot, callNow);
}
