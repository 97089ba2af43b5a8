#pragma once

#include "diag/DiagExport.h"
#include "views/TabSelectorContainerView.h"

class ButtonView;
class DiagCANPage;
class FactoryPage;
class LabelView;
class MultiPageView;

// The diagnostic application: tabs of developer and diagnostic pages, shown while the car is
// in developer or diagnostic mode and replaced by a hint otherwise.
class DIAG_EXPORT DiagnosticTools : public TabSelectorContainerView {
    Q_OBJECT
public:
    explicit DiagnosticTools(DisplayView* parent);
    ~DiagnosticTools() override;

    MultiPageView* pageView() const { return mPageView; }
    LabelView* hintLabel() const { return mHintLabel; }
    ButtonView* exitButton() const { return mExitButton; }
    DiagCANPage* canPage() const { return mCANPage; }
    FactoryPage* factoryPage() const { return mFactoryPage; }

public slots:
    void resized() override;
    void devModeChanged();
    void exitDevMode();

private:
    void createBarButtons(DisplayView* bar);
    void showHint();

    LabelView* mHintLabel = nullptr;
    MultiPageView* mPageView = nullptr;
    DiagCANPage* mCANPage = nullptr;
    FactoryPage* mFactoryPage = nullptr;
    ButtonView* mExitButton = nullptr;
};
