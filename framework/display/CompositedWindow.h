#pragma once

#include "views/ViewHost.h"

#include <QPointer>

#include <memory>

class WindowCompositor;

// One native window redirected off screen: its content is kept in an image that follows the
// window's damage. Pixels are fetched when content() is asked for and something changed, and
// only the rows that changed. Made by WindowCompositor; deleting it puts the window back.
class CompositedWindow : public WindowContent {
    Q_OBJECT
public:
    ~CompositedWindow() override;

    unsigned long window() const { return mWindow; }
    const QImage& content() override;

private:
    friend class WindowCompositor;
    CompositedWindow(WindowCompositor* compositor, unsigned long window);
    bool redirect();

    // Told by the compositor, from the window's events.
    void windowDamaged();
    void windowResized(int width, int height);
    void windowMapped();
    void windowDestroyed();

    void fetch();
    void invalidate();
    bool allocate();
    void release();
    bool fetchRows(int top, int count);

    QPointer<WindowCompositor> mCompositor;
    unsigned long mWindow;
    unsigned long mDamage = 0;
    unsigned long mPixmap = 0;
    void* mVisual = nullptr;
    int mDepth = 0;
    QSize mSize;
    bool mGone = false;
    bool mDirty = true;
    bool mWholeDirty = true;
    QImage mContent;
    // With shared memory the content image is the segment itself.
    struct SharedImage;
    std::unique_ptr<SharedImage> mShared;
};
