#pragma once

#include "TestSupport.h"
#include "display/DisplayDevice.h"
#include "views/CenterDisplay.h"
#include "views/DisplayView.h"
#include "views/popup/PopupView.h"

#include <QSize>

// A root view on an off-screen display, touched as a finger does. What a test leaves on the
// centre display (popups, the keyboard, key focus) goes with it.
template <typename Root = DisplayView>
struct Screen {
    explicit Screen(QSize size = QSize(1920, 1200))
        : display(&root, size)
    {
        root.resize(size.width(), size.height());
    }
    ~Screen()
    {
        DisplayDevice::setKeyFocus(nullptr);
        theCenterDisplay->setKeyboardVisible(false);
        closePopups();
    }
    static void closePopups()
    {
        for (PopupView* popup : theCenterDisplay->openPopups())
            popup->close();
        drainEvents();
    }

    void press(const QPoint& p) { display.touch(int(TouchEvent::Kind::Press), p); }
    void move(const QPoint& p) { display.touch(int(TouchEvent::Kind::Move), p); }
    void release(const QPoint& p) { display.touch(int(TouchEvent::Kind::Release), p); }
    void tap(const QPoint& p) { display.tap(p); }
    void tap(const DisplayView* view) { display.tap(view->rootGeometry().center()); }

    Root root;
    DisplayDevice display;
};
