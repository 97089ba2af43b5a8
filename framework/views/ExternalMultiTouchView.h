#pragma once

#include "views/DisplayView.h"

// A view whose content is another program's native X window. The view finds the window
// (findX11Window) and keeps it over its own area on screen; resetLayerIfNecessary() is called
// whenever the window may have changed, and places the new one.
class ORVANE_EXPORT ExternalMultiTouchView : public DisplayView {
    Q_OBJECT
public:
    explicit ExternalMultiTouchView(DisplayView* parent = nullptr);

    // The window that shows this view's content, 0 for none. `current` is the one in use.
    virtual unsigned long findX11Window(unsigned long current);
    // Takes the window out of sight, as when the view goes away.
    virtual void lowerX11Window(unsigned long window);

    // Finds the window again and, when it is a different one, places it over the view.
    void resetLayerIfNecessary();
    unsigned long nativeWindow() const { return mWindow; }

    // Gestures the view wants from the display; kind 2 is tap-and-drag.
    void setRequiredTouchGesture(int kind, bool required);
    bool requiresTouchGesture(int kind) const { return mGestures & (1u << kind); }
    // Views that take typed keys say so; `grab` takes the focus at once.
    void setCanHaveKeyFocus(bool can, bool grab);
    bool canHaveKeyFocus() const { return mCanHaveKeyFocus; }

    // A tap becomes tapped() at its point; a drag becomes scrolled() by each step of the
    // finger, so a page never selects text under a dragging finger.
    bool touchEvent(const TouchEvent& event) override;

public slots:
    void resized() override;

protected:
    virtual void tapped(const QPoint& position);
    virtual void scrolled(const QPoint& delta, const QPoint& position);

private:
    void placeWindow();

    QPoint mPressAt;
    QPoint mLastAt;
    bool mDragging = false;

    unsigned long mWindow = 0;
    unsigned mGestures = 0;
    bool mCanHaveKeyFocus = false;
};
