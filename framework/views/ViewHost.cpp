#include "views/ViewHost.h"

#include "views/DisplayView.h"

namespace {
ViewHost* gHost = nullptr;
} // namespace

ViewHost::ViewHost()
{
    gHost = this;
}

ViewHost::~ViewHost()
{
    if (gHost == this)
        gHost = nullptr;
}

ViewHost* ViewHost::instance()
{
    return gHost;
}

void ViewHost::requestFrame()
{
    if (gHost)
        gHost->frameNeeded();
}

void ViewHost::requestFrame(const QRect& area)
{
    if (gHost && area.isValid())
        gHost->areaNeeded(area);
}

void ViewHost::setKeyFocus(DisplayView* view)
{
    if (!gHost)
        return;
    DisplayView* previous = gHost->mKeyFocus;
    gHost->mKeyFocus = view;
    if (previous && previous != view)
        previous->lostKeyFocus();
}

DisplayView* ViewHost::keyFocus()
{
    return gHost ? gHost->mKeyFocus : nullptr;
}

void ViewHost::key(QKeyEvent* event)
{
    for (DisplayView* v = keyFocus(); v; v = v->parentView()) {
        if (v->isShown() && v->keyEvent(event))
            return;
    }
}

void ViewHost::viewDestroyed(DisplayView* view)
{
    if (!gHost)
        return;
    if (gHost->mKeyFocus == view)
        gHost->mKeyFocus = nullptr;
    gHost->forget(view);
}

void ViewHost::viewWithdrawn(DisplayView* view)
{
    if (gHost)
        gHost->cancelTouchInside(view, true);
}

void ViewHost::modalShown(DisplayView* overlay)
{
    if (gHost)
        gHost->cancelTouchInside(overlay, false);
}
