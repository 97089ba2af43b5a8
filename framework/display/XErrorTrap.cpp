#include "display/XErrorTrap.h"

#include <X11/Xlib.h>

namespace {
XErrorTrap* gInnermost = nullptr;
// Installed by the outermost trap, put back when it ends.
XErrorHandler gPrevious = nullptr;
} // namespace

struct XErrorTrapDispatch {
    static int handle(Display* display, XErrorEvent* event)
    {
        for (XErrorTrap* trap = gInnermost; trap; trap = trap->mOuter) {
            if (trap->mDisplay == display) {
                if (!trap->mError)
                    trap->mError = event->error_code;
                return 0;
            }
        }
        return gPrevious ? gPrevious(display, event) : 0;
    }
};

XErrorTrap::XErrorTrap(Display* display)
    : mDisplay(display)
    , mOuter(gInnermost)
{
    if (!mOuter)
        gPrevious = XSetErrorHandler(XErrorTrapDispatch::handle);
    gInnermost = this;
}

XErrorTrap::~XErrorTrap()
{
    // Errors of requests made under the trap must arrive while it is still installed.
    XSync(mDisplay, False);
    gInnermost = mOuter;
    if (!mOuter)
        XSetErrorHandler(gPrevious);
}

int XErrorTrap::sync()
{
    XSync(mDisplay, False);
    return mError;
}
