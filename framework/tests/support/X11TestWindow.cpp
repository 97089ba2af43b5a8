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
    destroy();
    XCloseDisplay(static_cast<Display*>(mDisplay));
}

QRect X11TestWindow::geometry() const
{
    auto* dpy = static_cast<Display*>(mDisplay);
    XWindowAttributes attributes;
    XGetWindowAttributes(dpy, mWindow, &attributes);
    return QRect(attributes.x, attributes.y, attributes.width, attributes.height);
}

namespace {

QRect inputBoundsOn(Display* dpy, unsigned long window)
{
    int count = 0;
    int ordering = 0;
    XRectangle* rects = XShapeGetRectangles(dpy, window, ShapeInput, &count, &ordering);
    QRect bounds;
    for (int i = 0; i < count; ++i)
        bounds |= QRect(rects[i].x, rects[i].y, rects[i].width, rects[i].height);
    if (rects)
        XFree(rects);
    return bounds;
}

} // namespace

QRect X11TestWindow::inputBounds() const
{
    return inputBoundsOn(static_cast<Display*>(mDisplay), mWindow);
}

QRect X11TestWindow::inputBoundsOf(unsigned long window)
{
    Display* dpy = XOpenDisplay(nullptr);
    if (!dpy)
        return QRect(-1, -1, 0, 0);
    const QRect bounds = inputBoundsOn(dpy, window);
    XCloseDisplay(dpy);
    return bounds;
}

void X11TestWindow::fill(const QColor& color, const QRect& area)
{
    auto* dpy = static_cast<Display*>(mDisplay);
    const QRect r = area.isEmpty() ? QRect(QPoint(0, 0), geometry().size()) : area;
    GC gc = XCreateGC(dpy, mWindow, 0, nullptr);
    // The test display is 24-bit true colour: a pixel is its RGB value.
    XSetForeground(dpy, gc, color.rgb() & 0xffffff);
    XFillRectangle(dpy, mWindow, gc, r.x(), r.y(), unsigned(r.width()), unsigned(r.height()));
    XFreeGC(dpy, gc);
    XSync(dpy, False);
}

void X11TestWindow::destroy()
{
    if (mDestroyed || !mWindow)
        return;
    mDestroyed = true;
    auto* dpy = static_cast<Display*>(mDisplay);
    XDestroyWindow(dpy, mWindow);
    XSync(dpy, False);
}
