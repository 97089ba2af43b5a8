#include "BenchFinger.h"

#include "display/DisplayDevice.h"
#include "views/DisplayView.h"

#include <QEventLoop>
#include <QTimer>

namespace {
// A finger reports where it is about once a frame.
constexpr int MoveIntervalMs = 16;
// An instant drag still moves in steps, so views see a movement rather than a jump.
constexpr int InstantDragSteps = 10;
} // namespace

void BenchFinger::press(const QPoint& at)
{
    mAt = at;
    DisplayDevice::instance()->touch(int(TouchEvent::Kind::Press), at);
}

void BenchFinger::moveTo(const QPoint& at)
{
    mAt = at;
    DisplayDevice::instance()->touch(int(TouchEvent::Kind::Move), at);
}

void BenchFinger::release()
{
    DisplayDevice::instance()->touch(int(TouchEvent::Kind::Release), mAt);
}

void BenchFinger::tap(const QPoint& at, int holdMs)
{
    press(at);
    runFor(holdMs);
    release();
}

void BenchFinger::drag(const QPoint& from, const QPoint& to, int durationMs)
{
    press(from);
    const int steps = durationMs > 0 ? qMax(1, durationMs / MoveIntervalMs) : InstantDragSteps;
    for (int i = 1; i <= steps; ++i) {
        if (durationMs > 0)
            runFor(durationMs / steps);
        moveTo(from + (to - from) * i / steps);
    }
    release();
}

void BenchFinger::runFor(int ms)
{
    if (ms <= 0)
        return;
    QEventLoop loop;
    QTimer::singleShot(ms, Qt::PreciseTimer, &loop, &QEventLoop::quit);
    loop.exec();
}
