#include "views/KineticScroller.h"
#include "TestSupport.h"

#include <QSignalSpy>
#include <gtest/gtest.h>

namespace {

// A scroller on a clock the test moves; the finger drags content within [0, maxY].
struct Rig {
    explicit Rig(qreal maxY)
    {
        scroller.setClock([this] { return ms; });
        scroller.setBounds(QPointF(0, 0), QPointF(0, maxY));
    }
    void at(qint64 t) { ms = t; }
    // Time passes in ticks of `step` until `until`.
    void runTo(qint64 until, qint64 step = 16)
    {
        while (ms < until) {
            ms = qMin(until, ms + step);
            scroller.tick();
        }
    }
    // An upward swipe of the finger: 100 px every 16 ms, released where it last moved.
    void swipeUp(qreal fromY, int moves)
    {
        scroller.press(QPointF(0, fromY));
        for (int i = 1; i <= moves; ++i) {
            at(ms + 16);
            scroller.move(QPointF(0, fromY - 100 * i));
        }
        scroller.release(QPointF(0, fromY - 100 * moves));
    }
    qreal y() const { return scroller.offset().y(); }

    qint64 ms = 0;
    KineticScroller scroller;
};

} // namespace

TEST(KineticScroller, ReleaseVelocityGlidesOnSlowingDownUntilItStops)
{
    Rig rig(100000);
    rig.swipeUp(800, 3);
    EXPECT_DOUBLE_EQ(rig.y(), 300); // the content followed the finger exactly
    ASSERT_TRUE(rig.scroller.isMoving());

    // Equal steps of time cover less and less ground.
    qreal last = rig.y();
    qreal lastStep = 1e9;
    for (int i = 0; i < 10; ++i) {
        rig.runTo(rig.ms + 50);
        EXPECT_LT(rig.y() - last, lastStep);
        lastStep = rig.y() - last;
        last = rig.y();
    }
    rig.runTo(rig.ms + 5000);
    EXPECT_FALSE(rig.scroller.isMoving());
    // It runs out of speed short of velocity x decay time (6250 px/s x 0.325 s) past the release.
    EXPECT_GT(rig.y(), 300 + 2000);
    EXPECT_LT(rig.y(), 300 + 2032);

    // The path does not depend on how often it is ticked.
    Rig fine(100000);
    Rig coarse(100000);
    fine.swipeUp(800, 3);
    coarse.swipeUp(800, 3);
    fine.runTo(fine.ms + 400, 1);
    coarse.runTo(coarse.ms + 400, 400);
    EXPECT_NEAR(fine.y(), coarse.y(), 0.001);
}

TEST(KineticScroller, AGlideStopsExactlyAtTheEnd)
{
    Rig rig(500);
    QSignalSpy changed(&rig.scroller, &KineticScroller::offsetChanged);
    rig.swipeUp(800, 3);
    rig.runTo(rig.ms + 2000);
    EXPECT_FALSE(rig.scroller.isMoving());
    EXPECT_EQ(rig.y(), 500);
    EXPECT_EQ(changed.last().first().toPointF(), QPointF(0, 500));
}

TEST(KineticScroller, AFingerStopsAGlideAndHoldsTheContentFromWhereItStopped)
{
    Rig rig(100000);
    rig.swipeUp(800, 3);
    rig.runTo(rig.ms + 100);
    const qreal at = rig.y();
    rig.scroller.press(QPointF(0, 500));
    rig.runTo(rig.ms + 500);
    EXPECT_EQ(rig.y(), at);
    rig.scroller.move(QPointF(0, 450));
    EXPECT_DOUBLE_EQ(rig.y(), at + 50);
}

TEST(KineticScroller, PulledPastAnEndItGivesWayLessAndSpringsBack)
{
    Rig rig(1000);
    rig.scroller.press(QPointF(0, 100));
    rig.scroller.move(QPointF(0, 140));
    const qreal small = rig.y();
    rig.scroller.move(QPointF(0, 600));
    const qreal large = rig.y();
    EXPECT_LT(small, 0);
    EXPECT_GT(small, -40);
    EXPECT_LT(large, small);
    EXPECT_GT(large, -120); // never further than the rubber band's limit
    rig.at(500);
    rig.scroller.release(QPointF(0, 600));
    rig.runTo(rig.ms + 80);
    EXPECT_LT(rig.y(), 0);
    EXPECT_GT(rig.y(), large);
    rig.runTo(rig.ms + 1000);
    EXPECT_FALSE(rig.scroller.isMoving());
    EXPECT_EQ(rig.y(), 0);
}

TEST(KineticScroller, NewBoundsClampTheOffsetOnceNoFingerHoldsIt)
{
    Rig rig(1000);
    rig.scroller.setOffset(QPointF(50, 900));
    EXPECT_EQ(rig.scroller.offset(), QPointF(0, 900));
    rig.scroller.press(QPointF(0, 500));
    rig.scroller.setBounds(QPointF(0, 0), QPointF(0, 400));
    EXPECT_EQ(rig.y(), 900);
    rig.at(500);
    rig.scroller.release(QPointF(0, 500));
    rig.runTo(rig.ms + 1000);
    EXPECT_EQ(rig.y(), 400);
}

TEST(KineticScroller, SlideReachesItsTargetInItsTimeSlowingDownAndZeroJumps)
{
    Rig rig(1000);
    QSignalSpy moved(&rig.scroller, &KineticScroller::offsetChanged);
    rig.scroller.scrollTo(QPointF(0, 400), 200);
    EXPECT_TRUE(rig.scroller.isMoving());
    rig.runTo(100, 100);
    // Eased out: past half the way at half the time.
    EXPECT_GT(rig.y(), 200);
    EXPECT_LT(rig.y(), 400);
    rig.runTo(200, 100);
    EXPECT_DOUBLE_EQ(rig.y(), 400);
    EXPECT_FALSE(rig.scroller.isMoving());
    EXPECT_EQ(moved.count(), 2);

    rig.scroller.scrollTo(QPointF(0, 5000), 0);  // beyond the bounds: clamped, at once
    EXPECT_DOUBLE_EQ(rig.y(), 1000);
    EXPECT_FALSE(rig.scroller.isMoving());
}
