#pragma once

#include "OrvaneExport.h"

#include <QImage>
#include <QObject>

#include <memory>

class CompositedWindow;
class DisplayView;
class WindowCompositor;
class QKeyEvent;
class QPainter;

// The canvas the view tree is painted into. There is one per process; a window shows its
// frames on X11, or they are only rendered into images off screen. Mouse presses arrive here
// as touches on the view under them.
class ORVANE_EXPORT DisplayDevice : public QObject {
    Q_OBJECT
public:
    DisplayDevice(DisplayView* root, const QSize& size);
    ~DisplayDevice() override;
    DisplayDevice(const DisplayDevice&) = delete;
    DisplayDevice& operator=(const DisplayDevice&) = delete;
    static DisplayDevice* instance();

    DisplayView* root() const { return mRoot; }
    void setRoot(DisplayView* root);
    QSize size() const { return mSize; }

    // Paints the whole tree, or only the views that meet `area` (root coordinates).
    QImage render() const;
    void paint(QPainter& painter, const QRect& area = QRect()) const;
    // Frames painted so far (by render() or a window).
    int frameCount() const { return mFrameCount; }

    // Input in root coordinates. The overlay (popups, picker lists, keyboard) is offered a
    // touch before the application.
    void touch(int kind, const QPoint& rootPosition);
    void tap(const QPoint& rootPosition);
    void key(QKeyEvent* event);

    static void requestFrame();
    // Only this part of the display (root coordinates) changed.
    static void requestFrame(const QRect& area);
    static void setKeyFocus(DisplayView* view);
    static DisplayView* keyFocus();
    static void viewDestroyed(DisplayView* view);
    // The view was hidden, disabled or relabelled: a finger held on it or inside it no longer
    // counts, so its holder gets a Cancel instead of a release that would act on what is gone.
    static void viewWithdrawn(DisplayView* view);
    // A modal popup came over the application: a finger held outside `overlay` is cancelled.
    static void modalShown(DisplayView* overlay);

    // A native window's content for a view to paint, redirected off screen and followed as it
    // changes. Null when the setting "display/composite_redirect" is off, the X server cannot
    // do it, or the window cannot be redirected: the view then places the window itself.
    std::unique_ptr<CompositedWindow> compositeWindow(unsigned long window);

signals:
    // Something changed; a window repaints once per turn of the event loop.
    void frameRequested();
    // Only this part (root coordinates) needs painting again.
    void areaRequested(const QRect& area);

private:
    void paintView(QPainter& painter, DisplayView* view, const QRect& area) const;
    DisplayView* pressAlong(DisplayView* deepest, const QPoint& rootPosition);
    void takeOver(const QPoint& movedBy);
    void cancelTouch();

    DisplayView* mRoot;
    QSize mSize;
    DisplayView* mTouchGrab = nullptr;
    QPoint mPressPosition;
    bool mTakenOver = false;
    DisplayView* mKeyFocus = nullptr;
    bool mFramePending = false;
    mutable int mFrameCount = 0;
    std::unique_ptr<WindowCompositor> mCompositor;
    bool mCompositorTried = false;
};
