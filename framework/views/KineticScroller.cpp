#include "views/KineticScroller.h"

#include "views/DisplayView.h"

#include <QElapsedTimer>
#include <QtMath>

namespace {

// A glide loses 1/e of its speed every DecayMs (unless it has a duration); it travels
// velocity * DecayMs in all.
constexpr qreal DecayMs = 325;
// Slower than this a glide is over, and a release this slow does not start one (px/s).
constexpr qreal StopVelocity = 10;
constexpr qreal MinGlideVelocity = 100;
constexpr qreal MaxVelocity = 8000;
// The release velocity is measured over the finger's last moments only: a finger that rested
// before lifting throws nothing.
constexpr qint64 VelocityWindowMs = 100;
// Overscroll springs back with this time constant, and never exceeds RubberBandLimit pixels.
constexpr qreal SettleMs = 80;
constexpr qreal RubberBandLimit = 120;
constexpr int TickMs = 16;

qint64 monotonicMs()
{
    static const QElapsedTimer timer = [] {
        QElapsedTimer t;
        t.start();
        return t;
    }();
    return timer.elapsed();
}

} // namespace

KineticScroller::KineticScroller(QObject* parent)
    : QObject(parent)
    , mClock(monotonicMs)
{
    mTimer.setInterval(TickMs);
    connect(&mTimer, &QTimer::timeout, this, &KineticScroller::tick);
}

void KineticScroller::setClock(Clock clock)
{
    mClock = clock ? std::move(clock) : Clock(monotonicMs);
}

void KineticScroller::setBounds(const QPointF& minimum, const QPointF& maximum)
{
    const QPointF before = offset();
    const qreal mins[2] = {minimum.x(), minimum.y()};
    const qreal maxs[2] = {maximum.x(), maximum.y()};
    for (int i = 0; i < 2; ++i) {
        Axis& a = mAxes[i];
        a.min = mins[i];
        a.max = qMax(mins[i], maxs[i]);
        a.target = a.clamped(a.target);
        if (!mDragging && a.pos != a.clamped(a.pos)) {
            a.pos = a.clamped(a.pos);
            a.phase = Axis::Still;
        }
    }
    if (offset() != before)
        emit offsetChanged(offset());
}

void KineticScroller::setOffset(const QPointF& offset)
{
    mTimer.stop();
    mDragging = false;
    for (Axis& a : mAxes)
        a.phase = Axis::Still;
    setPositions(QPointF(mAxes[0].clamped(offset.x()), mAxes[1].clamped(offset.y())));
}

void KineticScroller::scrollTo(const QPointF& offset, int durationMs)
{
    if (durationMs <= 0) {
        setOffset(offset);
        return;
    }
    mDragging = false;
    const qint64 t = now();
    const qreal targets[2] = {offset.x(), offset.y()};
    for (int i = 0; i < 2; ++i) {
        Axis& a = mAxes[i];
        a.from = a.pos;
        a.target = a.clamped(targets[i]);
        a.since = t;
        a.durationMs = durationMs;
        a.phase = a.target == a.pos ? Axis::Still : Axis::Slide;
    }
    startTimerIfMoving();
}

bool KineticScroller::press(const QPointF& position)
{
    const bool wasMoving = isMoving();
    mTimer.stop();
    for (Axis& a : mAxes)
        a.phase = Axis::Still;
    mDragging = true;
    mPressFinger = position;
    mPressOffset = offset();
    mSamples = {{now(), position}};
    return wasMoving;
}

void KineticScroller::move(const QPointF& position)
{
    if (!mDragging)
        return;
    const qint64 t = now();
    mSamples.append({t, position});
    while (mSamples.first().t < t - VelocityWindowMs)
        mSamples.removeFirst();
    const QPointF raw = mPressOffset - (position - mPressFinger);
    setPositions(QPointF(mAxes[0].rubberBanded(raw.x()), mAxes[1].rubberBanded(raw.y())));
}

void KineticScroller::release(const QPointF& position)
{
    if (!mDragging)
        return;
    move(position);
    mDragging = false;
    const qint64 t = now();
    const QPointF v = releaseVelocity();
    // Both axes slow down alike, so the content keeps its direction.
    const qreal decay = glideDecayMs(v);
    mAxes[0].startAfterRelease(v.x(), t, decay, mGlideMs);
    mAxes[1].startAfterRelease(v.y(), t, decay, mGlideMs);
    startTimerIfMoving();
}

void KineticScroller::cancel()
{
    if (!mDragging)
        return;
    mDragging = false;
    stop();
}

bool KineticScroller::isMoving() const
{
    return mAxes[0].phase != Axis::Still || mAxes[1].phase != Axis::Still;
}

void KineticScroller::stop()
{
    // A glide ends where it is; an overscrolled offset still goes back inside.
    const qint64 t = now();
    for (Axis& a : mAxes)
        a.startAfterRelease(0, t);
    mTimer.stop();
    startTimerIfMoving();
}

void KineticScroller::tick()
{
    const QPointF before = offset();
    const qint64 t = now();
    for (Axis& a : mAxes)
        a.advanceTo(t);
    if (!isMoving())
        mTimer.stop();
    if (offset() != before)
        emit offsetChanged(offset());
}

void KineticScroller::setPositions(const QPointF& p)
{
    if (p == offset())
        return;
    mAxes[0].pos = p.x();
    mAxes[1].pos = p.y();
    emit offsetChanged(p);
}

QPointF KineticScroller::releaseVelocity() const
{
    // The samples are pruned to the window before the last one, which release() took.
    const Sample& first = mSamples.first();
    const Sample& last = mSamples.last();
    const qint64 dt = last.t - first.t;
    if (dt <= 0)
        return {};
    // The content moves against the finger.
    const QPointF v = (first.position - last.position) * 1000.0 / qreal(dt);
    return {qBound(-MaxVelocity, v.x(), MaxVelocity), qBound(-MaxVelocity, v.y(), MaxVelocity)};
}

qreal KineticScroller::glideDecayMs(const QPointF& velocity) const
{
    const qreal speed = qMax(qAbs(velocity.x()), qAbs(velocity.y()));
    if (mGlideMs <= 0 || speed <= StopVelocity)
        return DecayMs;
    // The speed falls to StopVelocity just when the time is up.
    return mGlideMs / qLn(speed / StopVelocity);
}

void KineticScroller::startTimerIfMoving()
{
    if (isMoving() && !mTimer.isActive())
        mTimer.start();
}

qreal KineticScroller::Axis::rubberBanded(qreal raw) const
{
    // Gives way less the further it is pulled, approaching the limit.
    if (raw < min) {
        const qreal d = min - raw;
        return min - RubberBandLimit * d / (d + RubberBandLimit);
    }
    if (raw > max) {
        const qreal d = raw - max;
        return max + RubberBandLimit * d / (d + RubberBandLimit);
    }
    return raw;
}

void KineticScroller::Axis::startAfterRelease(qreal releaseVelocity, qint64 t, qreal glideDecayMs, qreal glideMs)
{
    from = pos;
    since = t;
    decayMs = glideDecayMs > 0 ? glideDecayMs : DecayMs;
    durationMs = glideMs;
    if (pos != clamped(pos)) {
        target = clamped(pos);
        phase = Settle;
    } else if (qAbs(releaseVelocity) >= MinGlideVelocity) {
        velocity = releaseVelocity;
        phase = Glide;
    } else {
        phase = Still;
    }
}

void KineticScroller::Axis::advanceTo(qint64 t)
{
    // Closed forms of the motion since it started, so the tick rate changes nothing.
    const qreal dt = qMax<qint64>(0, t - since);
    if (phase == Glide) {
        const qreal decay = qExp(-dt / decayMs);
        const qreal p = from + velocity * (decayMs / 1000.0) * (1 - decay);
        if (p != clamped(p)) {
            pos = clamped(p);
            phase = Still;
            return;
        }
        pos = p;
        if (qAbs(velocity * decay) < StopVelocity || (durationMs > 0 && dt >= durationMs))
            phase = Still;
    } else if (phase == Slide) {
        const qreal u = qMin<qreal>(1, dt / durationMs);
        pos = from + (target - from) * (1 - (1 - u) * (1 - u));
        if (u >= 1)
            phase = Still;
    } else if (phase == Settle) {
        const qreal p = target + (from - target) * qExp(-dt / SettleMs);
        if (qAbs(p - target) < 0.5) {
            pos = target;
            phase = Still;
        } else {
            pos = p;
        }
    }
}

void KineticScroller::touch(const TouchEvent& event)
{
    switch (event.kind) {
    case TouchEvent::Kind::Press: press(event.position); break;
    case TouchEvent::Kind::Move: move(event.position); break;
    case TouchEvent::Kind::Release: release(event.position); break;
    case TouchEvent::Kind::Cancel: cancel(); break;
    }
}

bool KineticScroller::takesOverVertical(const QPoint& movedBy) const
{
    return mAxes[1].max > mAxes[1].min && qAbs(movedBy.y()) > qAbs(movedBy.x());
}
