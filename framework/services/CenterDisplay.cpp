#include "services/CenterDisplay.h"

#include "services/PlatformJournal.h"

namespace {
CenterDisplay& centerDisplay()
{
    static CenterDisplay* instance = new CenterDisplay; // lives as long as the process
    return *instance;
}
} // namespace

CenterDisplay* const theCenterDisplay = &centerDisplay();

CenterDisplay::CenterDisplay() = default;

void CenterDisplay::restart()
{
    PlatformJournal::record(QStringLiteral("restart"));
    emit restartRequested(false);
}

void CenterDisplay::restartInCustomerMode()
{
    PlatformJournal::record(QStringLiteral("restart in customer mode"));
    emit restartRequested(true);
}

void CenterDisplay::setKeyboardVisible(bool visible)
{
    if (mKeyboardVisible == visible)
        return;
    mKeyboardVisible = visible;
    emit keyboardVisibilityChanged(visible);
}

void CenterDisplay::popupOpened()
{
    emit popupsChanged(++mOpenPopups);
}

void CenterDisplay::popupClosed()
{
    if (mOpenPopups > 0)
        emit popupsChanged(--mOpenPopups);
}
