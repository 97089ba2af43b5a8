#pragma once

#include "views/DisplayView.h"

#include <memory>

class WindowContent;
class KineticScroller;

// A view whose content is another program's native X window, found by findX11Window. The
// display redirects the window and the view paints its content, so it is clipped, covered
// by popups and part of screenshots like any view; where the display cannot, the window is
// kept over the view's area on screen instead. resetLayerIfNecessary() is called whenever the
// window may have changed.
//
// A tap becomes tapped() at its point. A drag becomes scrolled() steps that follow the finger
// and glide on after it lifts; it is never a press, so the content never selects text under it.
class ORVANE_EXPORT ExternalMultiTouchView : public DisplayView {
    Q_OBJECT
public:
    explicit ExternalMultiTouchView(DisplayView* parent = nullptr);
    ~ExternalMultiTouchView() override;

    // The window that shows this view's content, 0 for none. `current` is the one in use.
    virtual unsigned long findX11Window(unsigned long current);
    // Takes the window out of sight, as when the view goes away.
    virtual void lowerX11Window(unsigned long window);

    // Finds the window again and, when it is a different one, shows the new one.
    void resetLayerIfNecessary();
    unsigned long nativeWindow() const;
    // The window's content is painted by the view (else the window is placed over it).
    bool isComposited() const;

    // Gestures the view wants from the display; kind 2 is tap-and-drag.
    void setRequiredTouchGesture(int kind, bool required);
    bool requiresTouchGesture(int kind) const;
    // Views that take typed keys say so; `grab` takes the focus at once.
    void setCanHaveKeyFocus(bool can, bool grab);
    bool canHaveKeyFocus() const;

    void draw(QPainter& painter) override;
    bool touchEvent(const TouchEvent& event) override;
    // The momentum of drags (its clock can be replaced).
    KineticScroller* scroller() const;

public slots:
    void resized() override;

protected:
    virtual void tapped(const QPoint& position);
    // Wheel steps in content pixels: the finger's way one to one, the glide after it scaled by
    // "chromium/scroll_scale"; positive moves the content right and down, as the finger did.
    virtual void scrolled(const QPoint& delta, const QPoint& position);

private:
    void placeWindow();
    void scrollerMoved(const QPointF& offset);

    struct Private;
    std::unique_ptr<Private> d;
};
