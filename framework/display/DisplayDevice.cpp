#include "display/DisplayDevice.h"

#include "core/ConfigValue.h"
#include "display/CompositedWindow.h"
#include "display/WindowCompositor.h"
#include "views/DisplayView.h"
#include "views/popup/OverlayView.h"

#include <QKeyEvent>
#include <QPainter>
#include <QTimer>

#include <sys/mman.h>

#include <cstdint>

namespace {
DisplayDevice* gDisplay = nullptr;
ConfigBoolValue CompositeRedirect(QStringLiteral("display/composite_redirect"), true);
} // namespace

DisplayDevice::DisplayDevice(DisplayView* root, const QSize& size)
    : mRoot(root)
    , mSize(size)
{
    gDisplay = this;
    OverlayView::instance()->setGeometry(QRect(QPoint(0, 0), size));
}

DisplayDevice::~DisplayDevice()
{
    if (gDisplay == this)
        gDisplay = nullptr;
}

void DisplayDevice::setRoot(DisplayView* root)
{
    mRoot = root;
    mTouchGrab = nullptr;
    clearKeyFocus();
    requestFrame();
}

DisplayDevice* DisplayDevice::instance()
{
    return gDisplay;
}

namespace {

// A full frame is megabytes. On a virtual machine each fresh page costs a fault when first
// written, in the guest and again in the host, even when the guest populated it in advance:
// 15 to 25 ms for a frame in 4 KiB pages here. In huge pages, where the kernel gives them, it
// is a few faults: about 2 ms.
struct MappedPixels {
    void* memory;
    size_t bytes;
};

QImage framePixels(const QSize& size)
{
    constexpr size_t HugePage = size_t(2) << 20;
    const size_t bytes = size_t(qMax(0, size.width())) * size_t(qMax(0, size.height())) * 4;
    // Room to start on a huge page's boundary.
    const size_t mapped = bytes + HugePage;
    void* memory = bytes > 0 ? mmap(nullptr, mapped, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0) : MAP_FAILED;
    if (memory == MAP_FAILED)
        return QImage(size, QImage::Format_RGB32);
    auto* pixels = reinterpret_cast<uchar*>((reinterpret_cast<uintptr_t>(memory) + HugePage - 1) & ~(HugePage - 1));
    madvise(pixels, bytes, MADV_HUGEPAGE);
    // Without huge pages this still saves the guest's faults.
    madvise(pixels, bytes, MADV_POPULATE_WRITE);
    return QImage(
        pixels, size.width(), size.height(), size.width() * 4, QImage::Format_RGB32,
        [](void* info) {
            const auto* mapping = static_cast<MappedPixels*>(info);
            munmap(mapping->memory, mapping->bytes);
            delete mapping;
        },
        new MappedPixels{memory, mapped});
}

} // namespace

QImage DisplayDevice::render() const
{
    QImage image = framePixels(mSize);
    image.fill(Qt::black);
    QPainter painter(&image);
    paint(painter);
    return image;
}

void DisplayDevice::paint(QPainter& painter, const QRect& area) const
{
    ++mFrameCount;
    painter.save();
    if (area.isValid())
        painter.setClipRect(area, Qt::IntersectClip);
    if (mRoot)
        paintView(painter, mRoot, area);
    OverlayView* overlay = OverlayView::instance();
    if (overlay->hasContent())
        paintView(painter, overlay, area);
    painter.restore();
}

void DisplayDevice::paintView(QPainter& painter, DisplayView* view, const QRect& area) const
{
    if (!view->isVisible())
        return;
    // A part repainted leaves the views beside it alone (and their windows' pixels unread).
    if (area.isValid() && !view->rootGeometry().intersects(area))
        return;
    painter.save();
    painter.translate(view->geometry().topLeft());
    painter.setClipRect(view->rect(), Qt::IntersectClip);
    if (!view->isEffectivelyEnabled())
        painter.setOpacity(painter.opacity() * 0.4);
    view->draw(painter);
    for (DisplayView* child : view->childViews())
        paintView(painter, child, area);
    painter.restore();
}

namespace {
// How far a finger travels before a scrolling ancestor may take it over.
constexpr int TakeOverDistance = 12;

QPoint localTo(const DisplayView* view, const QPoint& rootPosition)
{
    return rootPosition - view->rootGeometry().topLeft();
}
} // namespace

DisplayView* DisplayDevice::pressAlong(DisplayView* deepest, const QPoint& rootPosition)
{
    // The deepest view first; a view that ignores the press passes it to its parent.
    for (DisplayView* v = deepest; v; v = v->parentView()) {
        if (v->touchEvent({TouchEvent::Kind::Press, localTo(v, rootPosition)}))
            return v;
    }
    return nullptr;
}

void DisplayDevice::touch(int kind, const QPoint& rootPosition)
{
    const auto k = TouchEvent::Kind(kind);
    if (k == TouchEvent::Kind::Press) {
        mTouchGrab = nullptr;
        mTakenOver = false;
        mPressPosition = rootPosition;
        OverlayView* overlay = OverlayView::instance();
        DisplayView* hit = overlay->hasContent() ? overlay->viewAt(rootPosition - overlay->geometry().topLeft()) : nullptr;
        if (hit && hit != overlay) {
            mTouchGrab = pressAlong(hit, rootPosition);
            return;
        }
        if (overlay->hasContent() && overlay->touchOutside())
            return;
        if (mRoot)
            mTouchGrab = pressAlong(mRoot->viewAt(rootPosition - mRoot->geometry().topLeft()), rootPosition);
        return;
    }
    if (!mTouchGrab)
        return;
    if (k == TouchEvent::Kind::Move && !mTakenOver) {
        const QPoint movedBy = rootPosition - mPressPosition;
        if (movedBy.manhattanLength() >= TakeOverDistance)
            takeOver(movedBy);
    }
    DisplayView* target = mTouchGrab;
    if (k == TouchEvent::Kind::Release || k == TouchEvent::Kind::Cancel)
        mTouchGrab = nullptr;
    target->touchEvent({k, localTo(target, rootPosition)});
}

void DisplayDevice::takeOver(const QPoint& movedBy)
{
    mTakenOver = true;
    for (DisplayView* v = mTouchGrab->parentView(); v; v = v->parentView()) {
        if (!v->takesOverTouch(movedBy))
            continue;
        DisplayView* holder = mTouchGrab;
        mTouchGrab = nullptr;
        holder->touchEvent({TouchEvent::Kind::Cancel, localTo(holder, mPressPosition)});
        // The new holder sees the touch from where it began, so it scrolls by the whole way.
        if (v->touchEvent({TouchEvent::Kind::Press, localTo(v, mPressPosition)}))
            mTouchGrab = v;
        return;
    }
}

void DisplayDevice::tap(const QPoint& rootPosition)
{
    touch(int(TouchEvent::Kind::Press), rootPosition);
    touch(int(TouchEvent::Kind::Release), rootPosition);
}

void DisplayDevice::cancelTouch()
{
    DisplayView* holder = mTouchGrab;
    mTouchGrab = nullptr;
    holder->touchEvent({TouchEvent::Kind::Cancel, localTo(holder, mPressPosition)});
}

void DisplayDevice::frameNeeded()
{
    if (mFramePending)
        return;
    mFramePending = true;
    QTimer::singleShot(0, this, [this] {
        mFramePending = false;
        emit frameRequested();
    });
}

void DisplayDevice::areaNeeded(const QRect& area)
{
    emit areaRequested(area);
}

std::unique_ptr<WindowContent> DisplayDevice::windowContent(unsigned long window)
{
    if (!window || !CompositeRedirect.value())
        return nullptr;
    if (!mCompositorTried) {
        mCompositorTried = true;
        mCompositor = WindowCompositor::open();
    }
    return mCompositor ? mCompositor->redirect(window) : nullptr;
}

void DisplayDevice::forget(DisplayView* view)
{
    if (mTouchGrab == view)
        mTouchGrab = nullptr;
    if (mRoot == view)
        mRoot = nullptr;
}

void DisplayDevice::cancelTouchInside(DisplayView* view, bool inside)
{
    if (mTouchGrab && mTouchGrab->isChildOf(view) == inside)
        cancelTouch();
}
