#pragma once

#include "views/DisplayView.h"

class PopupView;

// The layer above the application: popups, open picker lists and the on-screen keyboard are
// its children. The display paints it last and offers it every touch first.
class ORVANE_EXPORT OverlayView : public DisplayView {
    Q_OBJECT
public:
    // The one overlay of the process, made on first use (it is a view: the application object
    // must exist by then).
    static OverlayView* instance();

    // Open popups, oldest first: the last one is on top.
    const QList<PopupView*>& popups() const { return mPopups; }
    PopupView* topmostPopup() const { return mPopups.isEmpty() ? nullptr : mPopups.last(); }
    bool hasModalPopup() const;
    // True while something in the overlay wants drawing.
    bool hasContent() const;

    // A touch that found no overlay view: a modal popup keeps it from the app beneath, and a
    // popup that closes on outside touches closes. True when the app must not get it.
    bool touchOutside();

    void draw(QPainter& painter) override;
    QString describe() const override { return QStringLiteral("overlay"); }

private:
    OverlayView();
    friend class PopupView;
    void popupOpened(PopupView* popup);
    void popupClosed(PopupView* popup);

    QList<PopupView*> mPopups;
};
