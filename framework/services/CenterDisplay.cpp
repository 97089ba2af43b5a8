#include "services/CenterDisplay.h"

#include "services/PlatformJournal.h"
#include "views/popup/OverlayView.h"
#include "views/popup/PopupView.h"

namespace {
CenterDisplay& centerDisplay()
{
    static CenterDisplay* instance = new CenterDisplay; // lives as long as the process
    return *instance;
}
} // namespace

CenterDisplay* const theCenterDisplay = &centerDisplay();

CenterDisplay::CenterDisplay()
{
    qRegisterMetaType<PopupView*>();
}

void CenterDisplay::restart(const QString& reason)
{
    PlatformJournal::record(QStringLiteral("CenterDisplay"), QStringLiteral("restart"), {reason});
    emit restartRequested(false);
}

void CenterDisplay::restartInCustomerMode()
{
    PlatformJournal::record(QStringLiteral("CenterDisplay"), QStringLiteral("restartInCustomerMode"));
    emit restartRequested(true);
}

void CenterDisplay::setKeyboardVisible(bool visible)
{
    if (mKeyboardVisible == visible)
        return;
    mKeyboardVisible = visible;
    emit keyboardVisibilityChanged(visible);
}

OverlayView* CenterDisplay::overlay()
{
    // Made on first use: it is a view, so it needs the application object to exist.
    if (!mOverlay)
        mOverlay = new OverlayView;
    return mOverlay;
}

QList<PopupView*> CenterDisplay::openPopups()
{
    return overlay()->popups();
}

PopupView* CenterDisplay::topmostPopup()
{
    return overlay()->topmostPopup();
}
