#pragma once

#include <memory>

#include "views/DisplayView.h"

class TabSelectorController;
class TabSelectorView;

// A tab selector across the top and a content view below it.
class ORVANE_EXPORT TabSelectorContainerView : public DisplayView {
    Q_OBJECT
public:
    // tabBarHeight: the height of the tab selector in pixels.
    TabSelectorContainerView(DisplayView* parent, int tabBarHeight);
    ~TabSelectorContainerView() override;

    TabSelectorView* tabSelector() const;
    void setTabController(TabSelectorController* controller);
    // The content fills the space below the tabs and, with autoResize, keeps filling it.
    void setContentView(DisplayView* content, bool autoResize);
    DisplayView* contentView() const;

public slots:
    void resized() override;

private:
    struct Private;
    std::unique_ptr<Private> d;
};
