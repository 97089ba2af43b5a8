#pragma once

#include "OrvaneExport.h"

#include <QImage>
#include <QObject>

#include <memory>

class DisplayView;
class QKeyEvent;
class QRect;

// Another program's native window, kept current off screen for a view to paint.
class ORVANE_EXPORT WindowContent : public QObject {
    Q_OBJECT
public:
    // The window's current content; a null image once the window is unmapped or gone.
    virtual const QImage& content() = 0;

signals:
    // The content changed (drawn, resized, unmapped or gone): paint it again.
    void changed();
};

// What shows the view tree. Views tell it what changed and where keys go, and never see the
// display itself. There is at most one; without it views live unshown and these calls do
// nothing.
class ORVANE_EXPORT ViewHost {
public:
    ViewHost(const ViewHost&) = delete;
    ViewHost& operator=(const ViewHost&) = delete;
    static ViewHost* instance();

    static void requestFrame();
    // Only this part of the display (root coordinates) changed.
    static void requestFrame(const QRect& area);

    static void setKeyFocus(DisplayView* view);
    static DisplayView* keyFocus();
    // From the view with key focus up its ancestors, until a shown one takes it.
    static void key(QKeyEvent* event);

    static void viewDestroyed(DisplayView* view);
    // The view was hidden, disabled or relabelled: a finger held on it or inside it no longer
    // counts, so its holder gets a Cancel instead of a release that would act on what is gone.
    static void viewWithdrawn(DisplayView* view);
    // A modal popup came over the application: a finger held outside `overlay` is cancelled.
    static void modalShown(DisplayView* overlay);

    // The window's content, redirected off screen and followed as it changes; null when the
    // host cannot do that, and the view then places the window itself.
    virtual std::unique_ptr<WindowContent> windowContent(unsigned long window) = 0;

protected:
    ViewHost();
    virtual ~ViewHost();

    virtual void frameNeeded() = 0;
    virtual void areaNeeded(const QRect& area) = 0;
    // The view is going: nothing may point at it any more.
    virtual void forget(DisplayView* view) = 0;
    // A finger held on a view `inside` (or outside) `view` is cancelled.
    virtual void cancelTouchInside(DisplayView* view, bool inside) = 0;
    // A new tree is shown: key focus starts afresh.
    void clearKeyFocus() { mKeyFocus = nullptr; }

private:
    DisplayView* mKeyFocus = nullptr;
};
