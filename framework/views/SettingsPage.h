#pragma once

#include "views/PageView.h"
#include "views/Style.h"

#include <QStringList>

#include <memory>

class DataValue;
class KineticScroller;
class LabelView;
class LayoutView;
class SlideSwitch;

// A page of rows: a vertical main layout ("SettingsMainLayout") that holds section heads,
// horizontal rows ("SettingsHorizontalLayout") and grids of labelled controls. Controls go
// into the current layout: the row or layout added last.
//
//   addMainLabel("VEHICLE SETTINGS", true);
//   addLayout("Settings2ColLayout; Widths:300,900");
//   addSwitch("LOG LOCATION DATA", &GUI_logLocationData);
class ORVANE_EXPORT SettingsPage : public PageView {
    Q_OBJECT
public:
    SettingsPage(DisplayView* parent, const QString& title);
    ~SettingsPage() override;

    LayoutView* mainLayout() const;
    // A new horizontal row at the end of the main layout; it becomes the current layout.
    LayoutView* addRow(const QString& style = QStringLiteral("SettingsHorizontalLayout"));
    // A layout of any style at the end of the main layout; it becomes the current layout.
    LayoutView* addLayout(const Style& style);
    // Where controls go now: the current layout, or a new row when there is none.
    LayoutView* currentLayout();
    // A section head ("SettingsMainLabel"). In its own row when newLine is true, else in the
    // current row.
    LabelView* addMainLabel(const QString& text, bool newLine = false);
    // A "SettingsSlideSwitch" bound to `value` (positions "OFF", "ON" unless given) with its
    // label: the next two cells of the current layout when that is a grid, else a row of
    // their own.
    SlideSwitch* addSwitch(const QString& label, DataValue* value, const QStringList& positions = {});
    // Ends the current layout and leaves a gap before the next one.
    void nextLine();

    // A form taller than the page scrolls vertically with momentum.
    KineticScroller* scroller() const;
    bool touchEvent(const TouchEvent& event) override;
    bool takesOverTouch(const QPoint& movedBy) const override;

public slots:
    void resized() override;

private:
    void updateScrollBounds();

    struct Private;
    std::unique_ptr<Private> d;
};
