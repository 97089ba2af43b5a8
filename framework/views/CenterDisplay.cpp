#include "views/CenterDisplay.h"

#include "core/DataValues.h"
#include "services/PlatformJournal.h"
#include "views/keyboard/KeyboardView.h"
#include "views/popup/ConfirmationPopup.h"
#include "views/popup/OverlayView.h"
#include "views/popup/PopupView.h"

struct CenterDisplay::Private {
    bool keyboardVisible = false;
    int keyboardHeight = KeyboardView::Height;
    KeyboardView* keyboard = nullptr;
    ChromiumManager* chromiumManager = nullptr;
};

namespace {
CenterDisplay& centerDisplay()
{
    static CenterDisplay* instance = new CenterDisplay; // lives as long as the process
    return *instance;
}
} // namespace

CenterDisplay* const theCenterDisplay = &centerDisplay();

CenterDisplay::CenterDisplay()
    : d(std::make_unique<Private>())
{
    qRegisterMetaType<PopupView*>();
}

CenterDisplay::~CenterDisplay() = default;

void CenterDisplay::setChromiumManager(ChromiumManager* manager)
{
    d->chromiumManager = manager;
}

bool CenterDisplay::isKeyboardVisible() const
{
    return d->keyboardVisible;
}

int CenterDisplay::keyboardHeight() const
{
    return d->keyboardHeight;
}

ChromiumManager* CenterDisplay::chromiumManager() const
{
    return d->chromiumManager;
}

void CenterDisplay::restart(const QString& reason)
{
    PlatformJournal::record(QStringLiteral("CenterDisplay"), QStringLiteral("restart"), {reason});
    emit restartRequested(false);
}

ConfirmationPopup* CenterDisplay::toggleTransportMode()
{
    bool inTransport;
    {
        DataValue::ConditionalLocker lock(GUI_transportMode);
        inTransport = GUI_transportMode.isValid() && GUI_transportMode.value();
    }
    auto* popup = new ConfirmationPopup(
        tr("TRANSPORT MODE"),
        inTransport ? tr("Leave transport mode? The car wakes up and drives normally again.")
                    : tr("Enter transport mode? The car sleeps deeply and limits driving until it leaves it."),
        tr("CANCEL"), inTransport ? tr("LEAVE") : tr("ENTER"));
    connect(popup, &ConfirmationPopup::answered, this, [this, inTransport](bool yes) {
        if (yes) {
            PlatformJournal::record(QStringLiteral("CenterDisplay"), QStringLiteral("setTransportMode"),
                                    {inTransport ? QStringLiteral("false") : QStringLiteral("true")});
            DataValue::EventLocker lock(GUI_transportMode);
            GUI_transportMode.setValueNoLock(!inTransport);
        }
        emit transportModeConfirmed(yes);
    });
    popup->open();
    return popup;
}

void CenterDisplay::restartInCustomerMode()
{
    PlatformJournal::record(QStringLiteral("CenterDisplay"), QStringLiteral("restartInCustomerMode"));
    emit restartRequested(true);
}

void CenterDisplay::setKeyboardVisible(bool visible)
{
    if (d->keyboardVisible == visible)
        return;
    d->keyboardVisible = visible;
    if (visible)
        placeKeyboard();
    keyboard()->show(visible);
    if (visible)
        emit keyboardWillShow();
    else
        emit keyboardWillHide();
    emit keyboardVisibilityChanged(visible);
}

void CenterDisplay::setKeyboardHeight(int height)
{
    d->keyboardHeight = height;
    if (d->keyboardVisible)
        placeKeyboard();
}

void CenterDisplay::placeKeyboard()
{
    // The display sizes the overlay to itself.
    const QSize display = overlay()->rect().size();
    keyboard()->setGeometry(QRect(0, display.height() - d->keyboardHeight, display.width(), d->keyboardHeight));
}

KeyboardView* CenterDisplay::keyboard()
{
    if (!d->keyboard) {
        d->keyboard = new KeyboardView(overlay());
        d->keyboard->hide();
    }
    return d->keyboard;
}

OverlayView* CenterDisplay::overlay()
{
    return OverlayView::instance();
}

QList<PopupView*> CenterDisplay::openPopups()
{
    return overlay()->popups();
}

PopupView* CenterDisplay::topmostPopup()
{
    return overlay()->topmostPopup();
}
