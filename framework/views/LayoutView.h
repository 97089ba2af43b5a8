#pragma once

#include "views/DisplayView.h"
#include "views/Style.h"

// Lines its shown children up, in order, along the style's Direction (vertical or horizontal)
// with its Spacing and Margin. A horizontal layout takes the size of its children. Layout runs
// once per turn of the event loop after children come, go or change size.
class ORVANE_EXPORT LayoutView : public DisplayView {
    Q_OBJECT
public:
    LayoutView(DisplayView* parent, const Style& style);

    bool isVertical() const { return mVertical; }
    void layoutNow();

protected:
    void childEvent(QChildEvent* event) override;

private:
    void scheduleLayout();

    Style mStyle;
    bool mVertical;
    int mSpacing;
    int mMargin;
    bool mScheduled = false;
};
