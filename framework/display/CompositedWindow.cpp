#include "display/CompositedWindow.h"

#include "display/WindowCompositor.h"
#include "services/XErrorTrap.h"

#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <X11/extensions/XShm.h>
#include <X11/extensions/Xcomposite.h>
#include <X11/extensions/Xdamage.h>
#include <X11/extensions/Xfixes.h>
#include <cstring>
#include <sys/ipc.h>
#include <sys/shm.h>

struct CompositedWindow::SharedImage {
    XImage* image = nullptr;
    XShmSegmentInfo segment = {};
};

namespace {

// Windows the UI can paint without converting pixels: 8 bits a channel, 32 bits a pixel.
bool paintable(const XWindowAttributes& attributes)
{
    const Visual* visual = attributes.visual;
    return (attributes.depth == 24 || attributes.depth == 32) && visual->red_mask == 0xff0000
           && visual->green_mask == 0xff00 && visual->blue_mask == 0xff;
}

} // namespace

CompositedWindow::CompositedWindow(WindowCompositor* compositor, unsigned long window)
    : mCompositor(compositor)
    , mWindow(window)
{
}

bool CompositedWindow::redirect()
{
    Display* dpy = mCompositor->mDisplay;
    XErrorTrap trap(dpy);
    XWindowAttributes attributes;
    if (!XGetWindowAttributes(dpy, mWindow, &attributes) || trap.sync() || !paintable(attributes))
        return false;
    mVisual = attributes.visual;
    mDepth = attributes.depth;
    mSize = QSize(attributes.width, attributes.height);
    XSelectInput(dpy, mWindow, StructureNotifyMask);
    XCompositeRedirectWindow(dpy, mWindow, CompositeRedirectManual);
    // Only one program may redirect a window by hand; the second gets BadAccess.
    if (trap.sync()) {
        XSelectInput(dpy, mWindow, NoEventMask);
        return false;
    }
    mDamage = XDamageCreate(dpy, mWindow, XDamageReportNonEmpty);
    if (trap.sync()) {
        XCompositeUnredirectWindow(dpy, mWindow, CompositeRedirectManual);
        XSelectInput(dpy, mWindow, NoEventMask);
        mDamage = 0;
        return false;
    }
    return true;
}

CompositedWindow::~CompositedWindow()
{
    if (!mCompositor)
        return;
    mCompositor->mWindows.remove(mWindow);
    Display* dpy = mCompositor->mDisplay;
    {
        XErrorTrap trap(dpy);
        if (!mGone) {
            XDamageDestroy(dpy, mDamage);
            XCompositeUnredirectWindow(dpy, mWindow, CompositeRedirectManual);
            XSelectInput(dpy, mWindow, NoEventMask);
        }
        release();
    }
    mCompositor->readEventsLater();
}

const QImage& CompositedWindow::content()
{
    if (!mDirty || !mCompositor || mGone)
        return mContent;
    fetch();
    // Events read while waiting for the server's answers are not announced by the socket.
    mCompositor->readEventsLater();
    return mContent;
}

void CompositedWindow::fetch()
{
    Display* dpy = mCompositor->mDisplay;
    XErrorTrap trap(dpy);
    mDirty = false;
    // Unmapped: nothing to show until it is mapped again.
    if (!allocate() || trap.sync()) {
        release();
        return;
    }
    // What is drawn after the subtraction is damage again, and comes as a new event.
    XserverRegion parts = XFixesCreateRegion(dpy, nullptr, 0);
    XDamageSubtract(dpy, mDamage, None, parts);
    int count = 0;
    XRectangle bounds = {};
    XRectangle* rectangles = XFixesFetchRegionAndBounds(dpy, parts, &count, &bounds);
    if (rectangles)
        XFree(rectangles);
    XFixesDestroyRegion(dpy, parts);

    int top = 0;
    int rows = mSize.height();
    if (!mWholeDirty) {
        top = qBound(0, int(bounds.y), mSize.height());
        rows = qBound(0, int(bounds.y) + int(bounds.height), mSize.height()) - top;
    }
    mWholeDirty = false;
    if (rows > 0 && (!fetchRows(top, rows) || trap.sync())) {
        // Gone between two events: the destroy notice is on its way.
        release();
    }
}

bool CompositedWindow::allocate()
{
    if (!mContent.isNull())
        return true;
    Display* dpy = mCompositor->mDisplay;
    // The size now, not the last one reported: whoever placed the window may be ahead of its
    // events. The pixmap is named for exactly that size.
    XWindowAttributes attributes;
    if (!XGetWindowAttributes(dpy, mWindow, &attributes) || attributes.map_state != IsViewable)
        return false;
    mSize = QSize(attributes.width, attributes.height);
    if (mPixmap)
        XFreePixmap(dpy, mPixmap);
    mPixmap = XCompositeNameWindowPixmap(dpy, mWindow);
    mWholeDirty = true;
    const int width = mSize.width();
    const int height = mSize.height();
    const QImage::Format format = mDepth == 32 ? QImage::Format_ARGB32_Premultiplied : QImage::Format_RGB32;
    if (!mCompositor->usesSharedMemory()) {
        mContent = QImage(width, height, format);
        return !mContent.isNull();
    }
    auto shared = std::make_unique<SharedImage>();
    shared->image = XShmCreateImage(dpy, static_cast<Visual*>(mVisual), unsigned(mDepth), ZPixmap, nullptr,
                                    &shared->segment, unsigned(width), unsigned(height));
    if (!shared->image)
        return false;
    const size_t bytes = size_t(shared->image->bytes_per_line) * size_t(height);
    shared->segment.shmid = shmget(IPC_PRIVATE, bytes, IPC_CREAT | 0600);
    if (shared->segment.shmid < 0) {
        XDestroyImage(shared->image);
        return false;
    }
    shared->segment.shmaddr = shared->image->data = static_cast<char*>(shmat(shared->segment.shmid, nullptr, 0));
    shared->segment.readOnly = False;
    const bool attached = shared->segment.shmaddr != reinterpret_cast<char*>(-1) && XShmAttach(dpy, &shared->segment);
    XSync(dpy, False);
    // Marked for removal at once: it goes away with the last detach, even if we crash.
    shmctl(shared->segment.shmid, IPC_RMID, nullptr);
    if (!attached) {
        if (shared->segment.shmaddr != reinterpret_cast<char*>(-1))
            shmdt(shared->segment.shmaddr);
        shared->image->data = nullptr;
        XDestroyImage(shared->image);
        return false;
    }
    mContent = QImage(reinterpret_cast<uchar*>(shared->image->data), width, height, shared->image->bytes_per_line,
                      format);
    mShared = std::move(shared);
    return true;
}

bool CompositedWindow::fetchRows(int top, int count)
{
    Display* dpy = mCompositor->mDisplay;
    if (mShared) {
        // Full-width rows land in place: the server writes them at the image's offset in the
        // segment, with the same stride.
        XImage* image = mShared->image;
        char* const data = image->data;
        const int height = image->height;
        image->data = data + size_t(top) * size_t(image->bytes_per_line);
        image->height = count;
        const bool ok = XShmGetImage(dpy, mPixmap, image, 0, top, AllPlanes);
        image->data = data;
        image->height = height;
        return ok;
    }
    XImage* image = XGetImage(dpy, mPixmap, 0, top, unsigned(mSize.width()), unsigned(count), AllPlanes, ZPixmap);
    if (!image)
        return false;
    const int rowBytes = qMin(image->bytes_per_line, int(mContent.bytesPerLine()));
    for (int row = 0; row < count; ++row)
        std::memcpy(mContent.scanLine(top + row), image->data + size_t(row) * size_t(image->bytes_per_line),
                    size_t(rowBytes));
    XDestroyImage(image);
    return true;
}

void CompositedWindow::release()
{
    Display* dpy = mCompositor->mDisplay;
    if (mPixmap)
        XFreePixmap(dpy, mPixmap);
    mPixmap = 0;
    if (mShared) {
        XShmDetach(dpy, &mShared->segment);
        XSync(dpy, False);
        shmdt(mShared->segment.shmaddr);
        mShared->image->data = nullptr;
        XDestroyImage(mShared->image);
        mShared.reset();
    }
    mContent = QImage();
}

void CompositedWindow::invalidate()
{
    mDirty = true;
    mWholeDirty = true;
    emit changed();
}

void CompositedWindow::windowDamaged()
{
    if (mDirty)
        return;
    mDirty = true;
    emit changed();
}

void CompositedWindow::windowResized(int width, int height)
{
    if (QSize(width, height) == mSize)
        return;
    mSize = QSize(width, height);
    XErrorTrap trap(mCompositor->mDisplay);
    release();
    invalidate();
}

void CompositedWindow::windowMapped()
{
    // A window mapped again gets a new pixmap; an unmapped one shows nothing.
    XErrorTrap trap(mCompositor->mDisplay);
    release();
    invalidate();
}

void CompositedWindow::windowDestroyed()
{
    mGone = true;
    XErrorTrap trap(mCompositor->mDisplay);
    release();
    emit changed();
}
