#pragma once

#include "views/DisplayView.h"

#include <QVector>

#include <memory>

class ButtonView;
class ControlBase;

// What a tab selector shows and whom it tells: the tabs' titles and the selection.
class ORVANE_EXPORT TabSelectorController {
public:
    virtual ~TabSelectorController();
    virtual int tabCount() const = 0;
    virtual QString tabTitle(int index) const = 0;
    virtual void tabSelected(int index) = 0;
};

// A row of tab buttons, one per tab of its controller; the selected one is lit.
class ORVANE_EXPORT TabSelectorView : public DisplayView {
    Q_OBJECT
public:
    explicit TabSelectorView(DisplayView* parent);
    ~TabSelectorView() override;

    void setController(TabSelectorController* controller);
    TabSelectorController* controller() const;
    // Selects a tab and tells the controller.
    void gotoTab(int index);
    // Lights a tab without telling the controller (the controller changed it).
    void setSelectedTab(int index);
    int selectedTab() const;
    // Rebuilds the buttons from the controller's tabs.
    void refresh();

    void draw(QPainter& painter) override;
    void resized() override;

private slots:
    void buttonReleased(ControlBase* button);

private:
    void placeButtons();

    struct Private;
    std::unique_ptr<Private> d;
};
