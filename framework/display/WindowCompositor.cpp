#include "display/WindowCompositor.h"

#include "core/Logger.h"
#include "display/CompositedWindow.h"

#include <QMetaObject>
#include <QSocketNotifier>
#include <X11/Xlib.h>
#include <X11/extensions/XShm.h>
#include <X11/extensions/Xcomposite.h>
#include <X11/extensions/Xdamage.h>
#include <X11/extensions/Xfixes.h>

std::unique_ptr<WindowCompositor> WindowCompositor::open()
{
    Display* display = XOpenDisplay(nullptr);
    if (!display)
        return nullptr;
    int eventBase = 0;
    int errorBase = 0;
    int major = 0;
    int minor = 2;
    // Naming a window's pixmap needs Composite 0.2.
    const bool composite = XCompositeQueryExtension(display, &eventBase, &errorBase)
                           && XCompositeQueryVersion(display, &major, &minor) && (major > 0 || minor >= 2);
    int damageEvents = 0;
    const bool damage = XDamageQueryExtension(display, &damageEvents, &errorBase);
    const bool fixes = XFixesQueryExtension(display, &eventBase, &errorBase);
    if (!composite || !damage || !fixes) {
        Logger(nullptr, "WARN") << "WindowCompositor: the X server cannot redirect windows, they are placed instead";
        XCloseDisplay(display);
        return nullptr;
    }
    // A remote display has the extension but cannot share our memory.
    const bool shm = XShmQueryExtension(display) && XDisplayString(display)[0] == ':';
    return std::unique_ptr<WindowCompositor>(new WindowCompositor(display, damageEvents, shm));
}

WindowCompositor::WindowCompositor(Display* display, int damageEventBase, bool sharedMemory)
    : mDisplay(display)
    , mDamageEventBase(damageEventBase)
    , mSharedMemory(sharedMemory)
    , mNotifier(new QSocketNotifier(ConnectionNumber(display), QSocketNotifier::Read, this))
{
    connect(mNotifier, &QSocketNotifier::activated, this, &WindowCompositor::readEvents);
}

WindowCompositor::~WindowCompositor()
{
    // Windows still shown go back on screen with the connection; their objects stay inert.
    for (CompositedWindow* window : qAsConst(mWindows))
        window->mCompositor = nullptr;
    delete mNotifier;
    XCloseDisplay(mDisplay);
}

std::unique_ptr<CompositedWindow> WindowCompositor::redirect(unsigned long window)
{
    if (!window || mWindows.contains(window))
        return nullptr;
    std::unique_ptr<CompositedWindow> composited(new CompositedWindow(this, window));
    if (!composited->redirect())
        return nullptr;
    mWindows.insert(window, composited.get());
    readEventsLater();
    return composited;
}

void WindowCompositor::readEventsLater()
{
    if (XEventsQueued(mDisplay, QueuedAlready) > 0)
        QMetaObject::invokeMethod(this, &WindowCompositor::readEvents, Qt::QueuedConnection);
}

void WindowCompositor::readEvents()
{
    while (XPending(mDisplay)) {
        XEvent event;
        XNextEvent(mDisplay, &event);
        if (event.type == mDamageEventBase + XDamageNotify) {
            const auto& damage = reinterpret_cast<const XDamageNotifyEvent&>(event);
            if (CompositedWindow* window = mWindows.value(damage.drawable))
                window->windowDamaged();
            continue;
        }
        // Events of windows no longer followed can still be queued.
        CompositedWindow* window = mWindows.value(event.xany.window);
        if (!window)
            continue;
        switch (event.type) {
        case ConfigureNotify: window->windowResized(event.xconfigure.width, event.xconfigure.height); break;
        case MapNotify:
        case UnmapNotify: window->windowMapped(); break;
        case DestroyNotify:
            mWindows.remove(event.xdestroywindow.window);
            window->windowDestroyed();
            break;
        default: break;
        }
    }
}
