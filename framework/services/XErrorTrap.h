#pragma once

#include "OrvaneExport.h"

struct _XDisplay;

// Catches the X errors of one connection while it lives, so a window that another program
// destroyed fails a request instead of ending the process. The first trap installs the
// process's one Xlib error handler for good; errors of connections no trap of the reporting
// thread watches go on to the handler that was installed before it. Traps nest per thread;
// a trap ends on the thread that opened it.
class ORVANE_EXPORT XErrorTrap {
public:
    explicit XErrorTrap(_XDisplay* display);
    ~XErrorTrap();
    XErrorTrap(const XErrorTrap&) = delete;
    XErrorTrap& operator=(const XErrorTrap&) = delete;

    // Waits for the server to answer everything sent so far; the first error code, 0 for none.
    int sync();

private:
    friend struct XErrorTrapDispatch;
    _XDisplay* mDisplay;
    XErrorTrap* mOuter;
    int mError = 0;
};
