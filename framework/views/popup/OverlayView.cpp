#include "views/popup/OverlayView.h"

#include "views/CenterDisplay.h"
#include "views/ViewHost.h"
#include "views/popup/PopupView.h"

#include <QPainter>

OverlayView* OverlayView::instance()
{
    static OverlayView* const overlay = new OverlayView;
    return overlay;
}

OverlayView::OverlayView()
    : DisplayView(nullptr)
{
    setObjectName(QStringLiteral("overlay"));
    setGeometry(QRect(0, 0, 1920, 1200));
}

bool OverlayView::hasModalPopup() const
{
    for (PopupView* popup : mPopups) {
        if (popup->isModal())
            return true;
    }
    return false;
}

bool OverlayView::hasContent() const
{
    for (DisplayView* child : childViews()) {
        if (child->isVisible())
            return true;
    }
    return false;
}

bool OverlayView::touchOutside()
{
    if (hasModalPopup())
        return true;
    PopupView* top = topmostPopup();
    if (top && top->closesOnOutsideTouch()) {
        top->close();
        return true;
    }
    return false;
}

void OverlayView::draw(QPainter& painter)
{
    // What a modal popup blocks is dimmed, so it is plain why taps there do nothing.
    if (hasModalPopup())
        painter.fillRect(rect(), QColor(0, 0, 0, 140));
}

void OverlayView::popupOpened(PopupView* popup)
{
    mPopups.removeAll(popup);
    // Listeners ask for the stack as it will be drawn.
    mPopups.append(popup);
    if (popup->isModal())
        ViewHost::modalShown(this);
    emit theCenterDisplay->popupWillShow(popup);
    update();
}

void OverlayView::popupClosed(PopupView* popup)
{
    if (!mPopups.contains(popup))
        return;
    mPopups.removeAll(popup);
    emit theCenterDisplay->popupWillHide(popup);
    update();
}
