#include "core/ConfigValue.h"
#include "views/CenterDisplay.h"
#include "views/ExternalMultiTouchView.h"
#include "views/KineticScroller.h"
#include "views/popup/PopupView.h"
#include "Screen.h"
#include "X11TestWindow.h"

#include <QPainter>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

// Shows a given native window, and records what its touches became.
class ExternalView : public ExternalMultiTouchView {
public:
    using ExternalMultiTouchView::ExternalMultiTouchView;
    unsigned long findX11Window(unsigned long) override { return window; }

    void tapped(const QPoint& position) override { taps.append(position); }
    void scrolled(const QPoint& delta, const QPoint& position) override
    {
        steps.append(delta);
        total += delta;
        at = position;
    }

    unsigned long window = 0;
    QVector<QPoint> taps;
    QVector<QPoint> steps;
    QPoint total;
    QPoint at;
};

// A grey popup over everything.
class GreyPopup : public PopupView {
public:
    GreyPopup()
        : PopupView(false)
    {
    }
    void draw(QPainter& painter) override { painter.fillRect(rect(), Qt::gray); }
};

// Settings of its own, so the composite switch and the scroll values are the test's.
class Settings {
public:
    Settings() { ConfigStore::setPath(mDir.filePath("car.ini")); }
    ~Settings() { ConfigStore::setPath(QString()); }
    void set(const QString& key, const QVariant& value) { ConfigStore::write(key, value); }

private:
    QTemporaryDir mDir;
};

class ExternalWindowTest : public ::testing::Test, protected Screen<> {
protected:
    ExternalWindowTest()
        : Screen(QSize(800, 600))
    {
        frame.setGeometry(QRect(100, 50, 300, 100));
        view.setGeometry(QRect(0, 0, 200, 120)); // its bottom runs out of the frame
    }
    void SetUp() override
    {
        if (!window.isValid())
            GTEST_SKIP() << "no X display";
        view.window = window.id();
        view.resetLayerIfNecessary();
        // Drawn as a program draws when its window is exposed, after the redirect.
        window.fill(Qt::red);
        window.fill(Qt::green, QRect(0, 0, 10, 10));
    }
    QColor at(const QPoint& p) { return display.render().pixelColor(p); }

    Settings settings;
    DisplayView frame{&root};
    ExternalView view{&frame};
    X11TestWindow window;
};

} // namespace

TEST_F(ExternalWindowTest, TheWindowIsPaintedInsideTheViewClippedAndCoveredLikeAnyView)
{
    ASSERT_TRUE(view.isComposited());
    // Sized and placed with the view, and kept beneath the UI.
    EXPECT_EQ(window.geometry(), QRect(100, 50, 200, 120));
    const QImage frameImage = display.render();
    EXPECT_EQ(frameImage.pixelColor(100, 50), QColor(Qt::green));
    EXPECT_EQ(frameImage.pixelColor(109, 59), QColor(Qt::green));
    EXPECT_EQ(frameImage.pixelColor(110, 60), QColor(Qt::red));
    EXPECT_EQ(frameImage.pixelColor(299, 149), QColor(Qt::red));
    EXPECT_EQ(frameImage.pixelColor(99, 50), QColor(Qt::black));
    EXPECT_EQ(frameImage.pixelColor(300, 100), QColor(Qt::black));
    EXPECT_EQ(frameImage.pixelColor(150, 150), QColor(Qt::black)) << "past the frame's bottom";

    // A popup over the view covers it.
    GreyPopup popup;
    popup.setGeometry(QRect(150, 60, 100, 40));
    popup.open();
    EXPECT_EQ(at(QPoint(200, 80)), QColor(Qt::gray));
    EXPECT_EQ(at(QPoint(120, 80)), QColor(Qt::red));
    popup.close();
}

TEST_F(ExternalWindowTest, DamageRepaintsJustTheViewWithTheNewPixels)
{
    ASSERT_TRUE(view.isComposited());
    display.render();
    QSignalSpy areas(&display, &DisplayDevice::areaRequested);
    window.fill(Qt::blue, QRect(50, 40, 20, 10));
    ASSERT_TRUE(waitFor([&] { return !areas.isEmpty(); }));
    EXPECT_EQ(areas.first().first().toRect(), view.rootGeometry());
    const QImage after = display.render();
    EXPECT_EQ(after.pixelColor(160, 95), QColor(Qt::blue));
    EXPECT_EQ(after.pixelColor(140, 95), QColor(Qt::red)); // same rows, outside the change
    EXPECT_EQ(after.pixelColor(100, 50), QColor(Qt::green)); // rows not fetched again

    // A repaint of another part leaves the view's pixels alone.
    window.fill(Qt::white);
    ASSERT_TRUE(waitFor([&] { return areas.count() == 2; }));
    QImage part(800, 600, QImage::Format_RGB32);
    part.fill(Qt::black);
    QPainter painter(&part);
    display.paint(painter, QRect(500, 400, 10, 10));
    EXPECT_EQ(part.pixelColor(160, 95), QColor(Qt::black));
    EXPECT_EQ(at(QPoint(160, 95)), QColor(Qt::white));
}

TEST_F(ExternalWindowTest, AWindowThatGoesAwayLeavesAnEmptyView)
{
    ASSERT_TRUE(view.isComposited());
    display.render();
    QSignalSpy areas(&display, &DisplayDevice::areaRequested);
    window.fill(Qt::blue);
    ASSERT_TRUE(waitFor([&] { return areas.count() == 1; }));
    window.destroy();
    // Fetched before the loop has seen the window go: the failed requests are caught.
    display.render();
    ASSERT_TRUE(waitFor([&] { return areas.count() >= 2; })); // unmapped, then destroyed
    EXPECT_EQ(at(QPoint(200, 100)), QColor(Qt::black));
    // Moving the view now moves nothing and fails nothing.
    view.moveTo(10, 10);
    EXPECT_EQ(at(QPoint(120, 70)), QColor(Qt::black));
}

TEST_F(ExternalWindowTest, ANewWindowReplacesTheOldOneWhichGoesBackOnScreen)
{
    X11TestWindow next;
    view.window = next.id();
    view.resetLayerIfNecessary();
    ASSERT_TRUE(view.isComposited());
    next.fill(Qt::blue);
    EXPECT_EQ(at(QPoint(200, 100)), QColor(Qt::blue));
    EXPECT_EQ(next.geometry(), QRect(100, 50, 200, 120));
    // The old window is no longer redirected: another program may redirect it now.
    ExternalView other(&root);
    other.window = window.id();
    other.resetLayerIfNecessary();
    EXPECT_TRUE(other.isComposited());
}

TEST_F(ExternalWindowTest, WithCompositingOffTheWindowIsPlacedOverTheView)
{
    settings.set("display/composite_redirect", false);
    X11TestWindow next;
    view.window = next.id();
    view.resetLayerIfNecessary();
    EXPECT_FALSE(view.isComposited());
    EXPECT_EQ(next.geometry(), QRect(100, 50, 200, 120));
    view.moveTo(200, 150);
    EXPECT_EQ(next.geometry(), QRect(300, 200, 200, 120));
}

namespace {

// A view on a clock the test moves; the scroll values are the test's.
class DragTest : public ::testing::Test {
protected:
    DragTest()
    {
        settings.set("chromium/scroll_scale", 2.5);
        settings.set("chromium/scroll_duration", 0.8);
        view.resize(600, 400);
        view.scroller()->setClock([this] { return ms; });
    }
    void touch(TouchEvent::Kind kind, const QPoint& p) { view.touchEvent({kind, p}); }
    // The finger moves by `step` every 16 ms.
    void drag(const QPoint& from, const QPoint& step, int moves)
    {
        touch(TouchEvent::Kind::Press, from);
        for (int i = 1; i <= moves; ++i) {
            ms += 16;
            touch(TouchEvent::Kind::Move, from + step * i);
        }
    }
    void runFor(qint64 duration)
    {
        for (const qint64 end = ms + duration; ms < end;) {
            ms += 16;
            view.scroller()->tick();
        }
    }

    Settings settings;
    qint64 ms = 1000;
    ExternalView view;
};

} // namespace

TEST_F(DragTest, ATapIsOneTapAtItsPointAndNeverAScroll)
{
    touch(TouchEvent::Kind::Press, QPoint(120, 80));
    touch(TouchEvent::Kind::Move, QPoint(123, 82)); // a trembling finger still taps
    touch(TouchEvent::Kind::Release, QPoint(123, 82));
    EXPECT_EQ(view.taps, QVector<QPoint>{QPoint(120, 80)});
    EXPECT_TRUE(view.steps.isEmpty());
    EXPECT_FALSE(view.scroller()->isMoving());
}

TEST_F(DragTest, WheelStepsFollowTheFingerOneToOneAndNeverTap)
{
    drag(QPoint(300, 300), QPoint(1, -7), 20);
    // The whole way from the press, in whole steps that add up exactly.
    EXPECT_EQ(view.total, QPoint(20, -140));
    EXPECT_EQ(view.at, QPoint(320, 160));
    ms += 200; // the finger rests before lifting: nothing is thrown
    touch(TouchEvent::Kind::Release, QPoint(320, 160));
    EXPECT_FALSE(view.scroller()->isMoving());
    EXPECT_EQ(view.total, QPoint(20, -140));
    EXPECT_TRUE(view.taps.isEmpty());
}

TEST_F(DragTest, AFlingSlowsDownAndEndsWithinTheDuration)
{
    drag(QPoint(300, 350), QPoint(0, -20), 10);
    touch(TouchEvent::Kind::Release, QPoint(300, 150));
    const int dragged = view.total.y();
    ASSERT_EQ(dragged, -200);
    ASSERT_TRUE(view.scroller()->isMoving());
    int lastStep = INT_MAX;
    qint64 elapsed = 0;
    while (view.scroller()->isMoving()) {
        const int before = view.total.y();
        runFor(96);
        elapsed += 96;
        const int step = before - view.total.y();
        EXPECT_LE(step, lastStep) << "at " << elapsed << " ms";
        lastStep = step;
        ASSERT_LE(elapsed, 800 + 96) << "still gliding";
    }
    EXPECT_LT(view.total.y(), dragged - 100) << "the fling went on the way the finger went";
    EXPECT_EQ(view.total.x(), 0);
    // The same throw glides a scale-th as far unscaled.
    const int scaledGlide = view.total.y() - dragged;
    settings.set("chromium/scroll_scale", 1.0);
    view.total = QPoint();
    drag(QPoint(300, 350), QPoint(0, -20), 10);
    touch(TouchEvent::Kind::Release, QPoint(300, 150));
    runFor(1000);
    EXPECT_NEAR(scaledGlide, (view.total.y() - dragged) * 2.5, 3);
}

TEST_F(DragTest, ANewTouchStopsTheFlingAndIsNoTap)
{
    drag(QPoint(300, 350), QPoint(0, -20), 10);
    touch(TouchEvent::Kind::Release, QPoint(300, 150));
    runFor(48);
    touch(TouchEvent::Kind::Press, QPoint(300, 300));
    const QPoint stoppedAt = view.total;
    runFor(500);
    EXPECT_EQ(view.total, stoppedAt);
    touch(TouchEvent::Kind::Release, QPoint(300, 300));
    EXPECT_TRUE(view.taps.isEmpty());
    // The next drag starts from zero again.
    view.total = QPoint();
    drag(QPoint(300, 300), QPoint(0, 10), 4);
    EXPECT_EQ(view.total, QPoint(0, 40));
}
