#pragma once

struct _XDisplay;

// Catches the X errors of one connection while it lives, so a window that another program
// destroyed fails a request instead of ending the process. Errors of other connections go on
// to the handler that was installed before. UI thread only; traps nest.
class XErrorTrap {
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
