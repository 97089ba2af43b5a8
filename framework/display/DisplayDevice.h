#pragma once

#include "OrvaneExport.h"
#include "views/ViewHost.h"

#include <QImage>
#include <QObject>

#include <memory>

class DisplayView;
class WindowCompositor;
class QPainter;

// The canvas the view tree is painted into. There is one per process; a window shows its
// frames on X11, or they are only rendered into images off screen. Mouse presses arrive here
// as touches on the view under them.
class ORVANE_EXPORT DisplayDevice : public QObject, public ViewHost {
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

    // Touches in root coordinates. The overlay (popups, picker lists, keyboard) is offered a
    // touch before the application.
    void touch(int kind, const QPoint& rootPosition);
    void tap(const QPoint& rootPosition);

    // Null also when the setting "display/composite_redirect" is off, the X server cannot
    // redirect, or the window cannot be.
    std::unique_ptr<WindowContent> windowContent(unsigned long window) override;

signals:
    // Something changed; a window repaints once per turn of the event loop.
    void frameRequested();
    // Only this part (root coordinates) needs painting again.
    void areaRequested(const QRect& area);

protected:
    void frameNeeded() override;
    void areaNeeded(const QRect& area) override;
    void forget(DisplayView* view) override;
    void cancelTouchInside(DisplayView* view, bool inside) override;

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
    bool mFramePending = false;
    mutable int mFrameCount = 0;
    std::unique_ptr<WindowCompositor> mCompositor;
    bool mCompositorTried = false;
};
