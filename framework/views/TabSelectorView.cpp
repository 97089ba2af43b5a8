#include "views/TabSelectorView.h"

#include "views/ButtonView.h"

#include <QPainter>

TabSelectorController::~TabSelectorController() = default;

TabSelectorView::TabSelectorView(DisplayView* parent)
    : DisplayView(parent)
{
}

void TabSelectorView::setController(TabSelectorController* controller)
{
    mController = controller;
    refresh();
}

void TabSelectorView::gotoTab(int index)
{
    if (!mController || index < 0 || index >= mController->tabCount())
        return;
    setSelectedTab(index);
    mController->tabSelected(index);
}

void TabSelectorView::setSelectedTab(int index)
{
    mSelected = index;
    for (int i = 0; i < mButtons.size(); ++i)
        mButtons[i]->setToggled(i == index);
}

void TabSelectorView::refresh()
{
    const int count = mController ? mController->tabCount() : 0;
    while (mButtons.size() > count)
        delete mButtons.takeLast();
    for (int i = 0; i < count; ++i) {
        if (i == mButtons.size()) {
            auto* button = new ButtonView(this, Style("TabButton"));
            button->setToggle(true);
            connect(button, &ControlBase::released, this, &TabSelectorView::buttonReleased);
            mButtons.append(button);
        }
        mButtons[i]->setLabel(mController->tabTitle(i));
    }
    setSelectedTab(mSelected);
    placeButtons();
}

void TabSelectorView::buttonReleased(ControlBase* button)
{
    const int index = mButtons.indexOf(static_cast<ButtonView*>(button));
    // A tab button is a toggle only for its look; selection is ours to keep.
    setSelectedTab(mSelected);
    gotoTab(index);
}

void TabSelectorView::resized()
{
    placeButtons();
}

void TabSelectorView::placeButtons()
{
    if (mButtons.isEmpty())
        return;
    const int w = qMin(180, width() / mButtons.size());
    for (int i = 0; i < mButtons.size(); ++i)
        mButtons[i]->setGeometry(QRect(i * w, 0, w, height()));
}

void TabSelectorView::draw(QPainter& painter)
{
    painter.fillRect(rect(), QColor(0x20, 0x23, 0x28));
}
