#pragma once

#include <QImage>
#include <QObject>
#include <QPointer>

#include <memory>

class WindowCompositor;

// One native window redirected off screen: its content is kept in an image that follows the
// window's damage. Pixels are fetched when content() is asked for and something changed, and
// only the rows that changed. Made by WindowCompositor; deleting it puts the window back.
class CompositedWindow : public QObject {
    Q_OBJECT
public:
    ~CompositedWindow() override;

    unsigned long window() const { return mWindow; }
    // The window's current content; a null image once the window is unmapped or gone.
    const QImage& content();

signals:
    // The content changed (drawn, resized, unmapped or gone): paint it again.
    void changed();

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
