#pragma once

#include "OrvaneExport.h"

#include <QObject>
#include <QPointF>
#include <QTimer>
#include <QVector>

#include <functional>

struct TouchEvent;
class QPoint;

// Momentum scrolling of a content offset. A finger drags the offset; on release it glides on
// at the release velocity, slowing down by friction, and stops at the bounds. Dragged past a
// bound it gives way less and less, and springs back on release. A new press stops it.
// Time comes from the clock it is given; a timer brings the motion up to that clock's time
// while anything moves, and whoever moves a hand-driven clock calls tick() instead.
class ORVANE_EXPORT KineticScroller : public QObject {
    Q_OBJECT
public:
    // Milliseconds of a monotonic clock.
    using Clock = std::function<qint64()>;

    explicit KineticScroller(QObject* parent = nullptr);

    void setClock(Clock clock);
    // A glide that slows down to a stop in exactly this time, whatever its speed; 0 (the
    // default) glides with a fixed friction instead.
    void setGlideDuration(int ms) { mGlideMs = ms; }

    // Offsets the content may rest at, per axis. An offset outside new bounds is clamped at
    // once unless a finger holds it.
    void setBounds(const QPointF& minimum, const QPointF& maximum);

    QPointF offset() const { return {mAxes[0].pos, mAxes[1].pos}; }
    // Jumps there (clamped) and stops any motion.
    void setOffset(const QPointF& offset);
    // Moves there (clamped) in `durationMs`, slowing down towards the end; 0 jumps.
    void scrollTo(const QPointF& offset, int durationMs);

    // A finger in the coordinates of the scrolled view. press() stops any motion and answers
    // whether there was one, so the press does not count as a tap on the content.
    bool press(const QPointF& position);
    void move(const QPointF& position);
    void release(const QPointF& position);
    // The finger went elsewhere: no glide, but an overscrolled offset springs back.
    void cancel();

    // A finger as the display reports it to a scrolling view.
    void touch(const TouchEvent& event);
    // What a vertically scrolling view answers when asked to take a moving finger over.
    bool takesOverVertical(const QPoint& movedBy) const;

    // Gliding or springing back.
    bool isMoving() const;
    // Ends a glide where it is; an overscrolled offset still springs back.
    void stop();

public slots:
    // Brings the motion up to the clock's time. A timer calls it about 60 times a second
    // while anything moves.
    void tick();

signals:
    void offsetChanged(const QPointF& offset);

private:
    struct Axis {
        enum Phase { Still, Glide, Settle, Slide };
        qreal pos = 0;
        qreal min = 0;
        qreal max = 0;
        Phase phase = Still;
        qreal from = 0;
        qreal velocity = 0; // px/s at `since`
        qreal target = 0;
        qint64 since = 0;
        qreal durationMs = 0; // of a slide, or of a glide that has one
        qreal decayMs = 0;    // of a glide

        qreal clamped(qreal p) const { return qBound(min, p, max); }
        qreal rubberBanded(qreal raw) const;
        void startAfterRelease(qreal releaseVelocity, qint64 t, qreal glideDecayMs = 0, qreal glideMs = 0);
        void advanceTo(qint64 t);
    };
    struct Sample {
        qint64 t;
        QPointF position;
    };

    qint64 now() const { return mClock(); }
    void setPositions(const QPointF& p);
    QPointF releaseVelocity() const;
    qreal glideDecayMs(const QPointF& velocity) const;
    void startTimerIfMoving();

    Clock mClock;
    QTimer mTimer;
    Axis mAxes[2];
    int mGlideMs = 0;
    bool mDragging = false;
    QPointF mPressFinger;
    QPointF mPressOffset;
    QVector<Sample> mSamples;
};
