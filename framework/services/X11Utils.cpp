#include "services/X11Utils.h"

#include "core/Logger.h"
#include "services/XErrorTrap.h"

#include <QMutex>
#include <X11/Xlib.h>
#include <X11/extensions/shape.h>

namespace {

QMutex gMutex;
Display* gDisplay = nullptr;
bool gTried = false;

// Our own connection: the toolkit's may be off screen or elsewhere.
Display* display()
{
    if (!gTried) {
        gTried = true;
        gDisplay = XOpenDisplay(nullptr);
        if (!gDisplay)
            Logger(nullptr, "WARN") << "X11Utils: no X display, window requests are ignored";
    }
    return gDisplay;
}

template <typename Request>
void run(const char* what, unsigned long window, Request request)
{
    if (!window)
        return;
    QMutexLocker lock(&gMutex);
    Display* dpy = display();
    if (!dpy)
        return;
    XErrorTrap trap(dpy);
    request(dpy, Window(window));
    if (const int error = trap.sync())
        Logger(nullptr, "WARN") << "X11Utils:" << what << "failed for window" << window << "error" << error;
}

} // namespace

void X11Utils::resizeWindow(unsigned long window, int width, int height)
{
    run("resize", window, [&](Display* dpy, Window w) {
        XResizeWindow(dpy, w, unsigned(qMax(1, width)), unsigned(qMax(1, height)));
    });
}

void X11Utils::moveResizeWindow(unsigned long window, const QRect& geometry)
{
    run("move", window, [&](Display* dpy, Window w) {
        XMoveResizeWindow(dpy, w, geometry.x(), geometry.y(), unsigned(qMax(1, geometry.width())),
                          unsigned(qMax(1, geometry.height())));
    });
}

void X11Utils::lowerWindow(unsigned long window)
{
    run("lower", window, [](Display* dpy, Window w) { XLowerWindow(dpy, w); });
}

void X11Utils::setInputRect(unsigned long window, const QRect& rect)
{
    run("input shape", window, [&](Display* dpy, Window w) {
        XRectangle r = {short(rect.x()), short(rect.y()), ushort(qMax(0, rect.width())), ushort(qMax(0, rect.height()))};
        XShapeCombineRectangles(dpy, w, ShapeInput, 0, 0, &r, rect.isEmpty() ? 0 : 1, ShapeSet, Unsorted);
    });
}
