#pragma once

#include <QPoint>

// One finger on the bench's display, as a person's: it goes down, stays while the UI runs
// (refreshes, value changes, popups, page switches all happen under it), moves, and lifts.
// It touches the process's display.
class BenchFinger {
public:
    void press(const QPoint& at);
    void moveTo(const QPoint& at);
    void release();
    // Down, held for holdMs with the UI running, up.
    void tap(const QPoint& at, int holdMs);
    // Down, a move every 16 ms for durationMs (at once when 0), up.
    void drag(const QPoint& from, const QPoint& to, int durationMs);

    // Lets the UI run for a while: timers fire, data values change, frames paint.
    static void runFor(int ms);

private:
    QPoint mAt;
};
