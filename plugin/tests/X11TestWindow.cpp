#include "X11TestWindow.h"

#include <X11/Xlib.h>
#include <X11/extensions/shape.h>

X11TestWindow::X11TestWindow()
{
    Display* dpy = XOpenDisplay(nullptr);
    if (!dpy)
        return;
    mDisplay = dpy;
    mWindow = XCreateSimpleWindow(dpy, DefaultRootWindow(dpy), 0, 0, 100, 100, 0, 0, 0);
    XMapWindow(dpy, mWindow);
    XSync(dpy, False);
}

X11TestWindow::~X11TestWindow()
{
    if (!mDisplay)
        return;
    auto* dpy = static_cast<Display*>(mDisplay);
    XDestroyWindow(dpy, mWindow);
    XCloseDisplay(dpy);
}

QRect X11TestWindow::geometry() const
{
    auto* dpy = static_cast<Display*>(mDisplay);
    XWindowAttributes attributes;
    XGetWindowAttributes(dpy, mWindow, &attributes);
    return QRect(attributes.x, attributes.y, attributes.width, attributes.height);
}

QRect X11TestWindow::inputBounds() const
{
    auto* dpy = static_cast<Display*>(mDisplay);
    int count = 0;
    int ordering = 0;
    XRectangle* rects = XShapeGetRectangles(dpy, mWindow, ShapeInput, &count, &ordering);
    QRect bounds;
    for (int i = 0; i < count; ++i)
        bounds |= QRect(rects[i].x, rects[i].y, rects[i].width, rects[i].height);
    if (rects)
        XFree(rects);
    return bounds;
}
