#pragma once

#include "views/DisplayView.h"

// The application's root view: the app area above, and the bar along the bottom in which
// window-level buttons sit.
class ORVANE_EXPORT AppWindow : public DisplayView {
    Q_OBJECT
public:
    static constexpr int BarHeight = 100;

    explicit AppWindow(DisplayView* parent = nullptr);

    DisplayView* barView() const { return mBar; }
    // The area above the bar, in this view's coordinates.
    QRect appArea() const;

    void draw(QPainter& painter) override;

public slots:
    void resized() override;

private:
    DisplayView* mBar;
};
