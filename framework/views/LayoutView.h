#pragma once

#include "views/DisplayView.h"
#include "views/Style.h"

// Places its shown children by the style's Direction:
// - vertical: one under another;
// - horizontal: side by side, wrapped into lines no wider than FlowWidth when one is given;
// - grid: rows of as many cells as Widths has columns, each cell at its column's left edge
//   and centred in a row at least RowHeight high ("Settings2ColLayout; Widths:300,900": a
//   label and its control per row). A hidden cell leaves its place empty, so pairs never
//   shift; a row with no shown cell is left out.
// Spacing separates children, lines and rows; LayoutMargin surrounds them. A layout takes the
// size of its content unless it follows its parent's size. Layout runs once per turn of the
// event loop after children come, go or change size; a layout nobody sees waits until it is
// shown or its geometry is read.
class ORVANE_EXPORT LayoutView : public DisplayView {
    Q_OBJECT
public:
    enum class Direction { Vertical, Horizontal, Grid };

    LayoutView(DisplayView* parent, const Style& style);
    ~LayoutView() override;

    Direction direction() const;
    void layoutNow();

public slots:
    void resized() override;

protected:
    // `fallback` applies when the style names no Direction.
    LayoutView(DisplayView* parent, const Style& style, Direction fallback);
    void childEvent(QChildEvent* event) override;
    void settleGeometry() override { layoutNow(); }
    void childGeometryDeferred(DisplayView*) override { scheduleLayout(); }

private:
    void scheduleLayout();
    // Each places the shown children inside the margin and returns the content's size.
    QSize layoutVertical();
    QSize layoutFlow();
    QSize layoutGrid();

    struct Private;
    std::unique_ptr<Private> d;
};

// new VerticalLayout(parent, "SettingsMainLayout"); a grid style makes it a grid.
class ORVANE_EXPORT VerticalLayout : public LayoutView {
    Q_OBJECT
public:
    VerticalLayout(DisplayView* parent, const Style& style) : LayoutView(parent, style, Direction::Vertical) {}
};

// new HorizontalLayout(parent, "SettingsHorizontalLayout; FlowWidth:900")
class ORVANE_EXPORT HorizontalLayout : public LayoutView {
    Q_OBJECT
public:
    HorizontalLayout(DisplayView* parent, const Style& style) : LayoutView(parent, style, Direction::Horizontal) {}
};
