#pragma once

#include "OrvaneExport.h"

#include <QObject>

class ChromiumManager;

// The centre display's platform services the UI calls: restarts, the on-screen keyboard and
// popup state, and the browser runtime. Requests are journalled; the host carries them out
// by listening to the signals.
class ORVANE_EXPORT CenterDisplay : public QObject {
    Q_OBJECT
public:
    CenterDisplay();

    // Restart the UI application as it is.
    virtual void restart();
    // Restart the UI application with developer and diagnostic mode off.
    virtual void restartInCustomerMode();

    bool isKeyboardVisible() const { return mKeyboardVisible; }
    void setKeyboardVisible(bool visible);
    int openPopupCount() const { return mOpenPopups; }
    void popupOpened();
    void popupClosed();

    ChromiumManager* chromiumManager() const { return mChromiumManager; }
    void setChromiumManager(ChromiumManager* manager) { mChromiumManager = manager; }

signals:
    void restartRequested(bool customerMode);
    void keyboardVisibilityChanged(bool visible);
    void popupsChanged(int openPopups);

private:
    bool mKeyboardVisible = false;
    int mOpenPopups = 0;
    ChromiumManager* mChromiumManager = nullptr;
};

extern ORVANE_EXPORT CenterDisplay* const theCenterDisplay;
