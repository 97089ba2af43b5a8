#pragma once

#include <QRect>

// A real top-level window on the test's X display, for checking what X11Utils did to it.
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

private:
    void* mDisplay = nullptr;
    unsigned long mWindow = 0;
};
