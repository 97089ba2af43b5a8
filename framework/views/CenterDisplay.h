#pragma once

#include "OrvaneExport.h"

#include <QObject>
#include <QString>

#include <memory>

class ChromiumManager;
class ConfirmationPopup;
class KeyboardView;
class OverlayView;
class PopupView;

// The centre display's platform services the UI calls: restarts, the on-screen keyboard and
// popup state, and the browser runtime. Requests are journalled; the host carries them out
// by listening to the signals.
class ORVANE_EXPORT CenterDisplay : public QObject {
    Q_OBJECT
public:
    CenterDisplay();
    ~CenterDisplay() override;

    // Restart the UI application as it is; the reason goes into the journal ("manual").
    virtual void restart(const QString& reason);
    // Restart the UI application with developer and diagnostic mode off.
    virtual void restartInCustomerMode();
    // Asks the user whether to enter (or leave) transport mode, flips GUI_transportMode on yes
    // and tells the answer through transportModeConfirmed and the returned popup.
    ConfirmationPopup* toggleTransportMode();

    bool isKeyboardVisible() const;
    // Shows the on-screen keyboard along the bottom of the display (or hides it); the overlay
    // holds it before anyone hears of the change.
    void setKeyboardVisible(bool visible);
    // The on-screen keyboard's height in display pixels while it shows.
    int keyboardHeight() const;
    void setKeyboardHeight(int height);
    // The keyboard in the overlay, made on first use.
    KeyboardView* keyboard();

    // The layer above the application that holds popups, picker lists and the keyboard, and
    // with it the stack of open popups (the last opened is on top).
    OverlayView* overlay();
    QList<PopupView*> openPopups();
    PopupView* topmostPopup();

    ChromiumManager* chromiumManager() const;
    void setChromiumManager(ChromiumManager* manager);

signals:
    void restartRequested(bool customerMode);
    void transportModeConfirmed(bool yes);
    void keyboardVisibilityChanged(bool visible);
    // Told after the state changed, before the keyboard is drawn.
    void keyboardWillShow();
    void keyboardWillHide();
    void popupWillShow(PopupView* popup);
    void popupWillHide(PopupView* popup);

private:
    void placeKeyboard();

    struct Private;
    std::unique_ptr<Private> d;
};

extern ORVANE_EXPORT CenterDisplay* const theCenterDisplay;
