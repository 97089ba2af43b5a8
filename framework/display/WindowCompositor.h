#pragma once

#include <QHash>
#include <QObject>

#include <memory>

class CompositedWindow;
class QSocketNotifier;
struct _XDisplay;

// Shows other programs' native windows inside the UI: windows are redirected off screen
// (Composite), their changes reported (Damage) and their pixels read, through shared memory
// when the server offers it. One X connection of its own, read from the UI thread's loop.
class WindowCompositor : public QObject {
    Q_OBJECT
public:
    // Null without an X display or without the Composite, Damage and XFixes extensions.
    static std::unique_ptr<WindowCompositor> open();
    ~WindowCompositor() override;

    // The window redirected and followed; null when it cannot be (gone, already redirected
    // by another program, a pixel format the UI cannot paint).
    std::unique_ptr<CompositedWindow> redirect(unsigned long window);

    bool usesSharedMemory() const { return mSharedMemory; }

private:
    friend class CompositedWindow;
    WindowCompositor(_XDisplay* display, int damageEventBase, bool sharedMemory);
    // Handles every event read so far, now or, when called from inside a request, soon.
    void readEvents();
    void readEventsLater();

    _XDisplay* mDisplay;
    int mDamageEventBase;
    bool mSharedMemory;
    QSocketNotifier* mNotifier;
    QHash<unsigned long, CompositedWindow*> mWindows;
};
