#include "services/XErrorTrap.h"

#include <X11/Xlib.h>
#include <mutex>

namespace {
// Xlib reports an error on the thread that reads it from the connection: the one that made
// the request and waits for its answer, so each thread looks only at its own traps.
thread_local XErrorTrap* tInnermost = nullptr;

// Set once, when the handler goes in; errors of other threads may ask for it meanwhile. Xlib
// hands back its default handler when there was none, so null means not installed yet.
std::mutex gPreviousMutex;
XErrorHandler gPrevious = nullptr;
} // namespace

struct XErrorTrapDispatch {
    static int handle(Display* display, XErrorEvent* event)
    {
        for (XErrorTrap* trap = tInnermost; trap; trap = trap->mOuter) {
            if (trap->mDisplay == display) {
                if (!trap->mError)
                    trap->mError = event->error_code;
                return 0;
            }
        }
        XErrorHandler previous;
        {
            std::lock_guard<std::mutex> lock(gPreviousMutex);
            previous = gPrevious;
        }
        return previous(display, event);
    }

    // Never swapped back: a trap open on another thread would lose its errors.
    static void install()
    {
        std::lock_guard<std::mutex> lock(gPreviousMutex);
        if (!gPrevious)
            gPrevious = XSetErrorHandler(handle);
    }
};

XErrorTrap::XErrorTrap(Display* display)
    : mDisplay(display)
    , mOuter(tInnermost)
{
    XErrorTrapDispatch::install();
    tInnermost = this;
}

XErrorTrap::~XErrorTrap()
{
    // Errors of requests made under the trap must arrive while it is still open.
    XSync(mDisplay, False);
    tInnermost = mOuter;
}

int XErrorTrap::sync()
{
    XSync(mDisplay, False);
    return mError;
}
