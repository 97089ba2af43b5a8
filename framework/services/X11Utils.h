#pragma once

#include "OrvaneExport.h"

#include <QRect>

// Native window operations on the X display the UI runs on. Windows are plain ids: Xlib stays
// out of headers. A missing display or a window that is gone is logged, never fatal.
class ORVANE_EXPORT X11Utils {
public:
    static void resizeWindow(unsigned long window, int width, int height);
    static void moveResizeWindow(unsigned long window, const QRect& geometry);
    static void lowerWindow(unsigned long window);
    // Only this rectangle takes input; an empty one makes the window transparent to input.
    static void setInputRect(unsigned long window, const QRect& rect);
};
