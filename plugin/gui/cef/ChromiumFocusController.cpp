#include "gui/cef/ChromiumFocusController.h"

#include "core/Logger.h"
#include "diag/DiagConfig.h"
#include "display/DisplayDevice.h"
#include "gui/cef/ChromiumClient.h"
#include "gui/cef/WebKitView.h"
#include "views/CenterDisplay.h"
#include "services/X11Utils.h"
#include "views/popup/PopupView.h"

ChromiumFocusController::ChromiumFocusController(ChromiumClient* client)
    : QObject(client)
    , mClient(client)
    , mView(client->webView())
{
    connect(theCenterDisplay, SIGNAL(keyboardWillShow()), this, SLOT(updateFocus()));
    connect(theCenterDisplay, SIGNAL(keyboardWillHide()), this, SLOT(updateFocus()));
    connect(theCenterDisplay, SIGNAL(popupWillShow(PopupView*)), this, SLOT(updateFocus()));
    connect(theCenterDisplay, SIGNAL(popupWillHide(PopupView*)), this, SLOT(updateFocus()));
    if (mView) {
        connect(mView, SIGNAL(resized(DisplayView*)), this, SLOT(updateFocus()));
        connect(mView, SIGNAL(moved(DisplayView*)), this, SLOT(updateFocus()));
        connect(mView, SIGNAL(enabled(DisplayView*)), this, SLOT(updateFocus()));
        connect(mView, SIGNAL(disabled(DisplayView*)), this, SLOT(updateFocus()));
    }
}

void ChromiumFocusController::updateFocus()
{
    if (!mView)
        return;
    const QRect screen = mView->rootGeometry();
    const int left = screen.left();
    const int top = screen.top();
    const int right = screen.right();
    int bottom = screen.bottom();

    bool mayTakeInput = mView->isEnabled();
    const QList<PopupView*> popups = theCenterDisplay->openPopups();
    if (!popups.isEmpty()) {
        PopupView* topmost = popups.last();
        mayTakeInput = mayTakeInput && (!topmost || mView->isChildOf(topmost));
    }
    if (!mayTakeInput) {
        bottom = top - 1;
    } else if (theCenterDisplay->isKeyboardVisible() && DisplayDevice::instance()) {
        const double visible = double(DisplayDevice::instance()->size().height()) - screen.top()
                               - theCenterDisplay->keyboardHeight();
        bottom = top + int(visible) - 1;
    }
    if (DebugChromium.value())
        Logger(this, "INFO") << "void ChromiumFocusController::updateFocus()" << left << top << (right - left + 1)
                             << (bottom - top + 1) << "enabled" << mView->isEnabled();
    X11Utils::setInputRect(mClient->windowHandle(), QRect(QPoint(left, top), QPoint(right, bottom)));
}
