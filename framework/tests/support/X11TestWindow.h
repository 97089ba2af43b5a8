#pragma once

#include <QColor>
#include <QRect>

// A real top-level window on the test's X display, to check what was done to it or to draw in
// it as another program would.
class X11TestWindow {
public:
    X11TestWindow();
    ~X11TestWindow();
    // False without an X display; the test then skips.
    bool isValid() const { return mWindow != 0; }
    unsigned long id() const { return mWindow; }
    QRect geometry() const;
    // The input region as one bounding rectangle; empty when no point takes input.
    QRect inputBounds() const;
    // The same for any window of the test's display (another program's, say).
    static QRect inputBoundsOf(unsigned long window);

    // Paints a rectangle of the window (all of it when empty) and waits until it is drawn.
    void fill(const QColor& color, const QRect& area = QRect());
    // The window goes away as when its program ends; id() stays what it was.
    void destroy();

private:
    void* mDisplay = nullptr;
    unsigned long mWindow = 0;
    bool mDestroyed = false;
};
