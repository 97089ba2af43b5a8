#include "views/TabSelectorView.h"

#include "views/ButtonView.h"

#include <QPainter>

struct TabSelectorView::Private {
    TabSelectorController* controller = nullptr;
    QVector<ButtonView*> buttons;
    int selected = -1;
};

TabSelectorController::~TabSelectorController() = default;

TabSelectorView::TabSelectorView(DisplayView* parent)
    : DisplayView(parent)
    , d(std::make_unique<Private>())
{
}

TabSelectorView::~TabSelectorView() = default;

TabSelectorController* TabSelectorView::controller() const
{
    return d->controller;
}

int TabSelectorView::selectedTab() const
{
    return d->selected;
}

void TabSelectorView::setController(TabSelectorController* controller)
{
    d->controller = controller;
    refresh();
}

void TabSelectorView::gotoTab(int index)
{
    if (!d->controller || index < 0 || index >= d->controller->tabCount())
        return;
    setSelectedTab(index);
    d->controller->tabSelected(index);
}

void TabSelectorView::setSelectedTab(int index)
{
    d->selected = index;
    for (int i = 0; i < d->buttons.size(); ++i)
        d->buttons[i]->setToggled(i == index);
}

void TabSelectorView::refresh()
{
    const int count = d->controller ? d->controller->tabCount() : 0;
    while (d->buttons.size() > count)
        delete d->buttons.takeLast();
    for (int i = 0; i < count; ++i) {
        if (i == d->buttons.size()) {
            auto* button = new ButtonView(this, Style("TabButton"));
            button->setToggle(true);
            connect(button, &ControlBase::released, this, &TabSelectorView::buttonReleased);
            d->buttons.append(button);
        }
        d->buttons[i]->setLabel(d->controller->tabTitle(i));
    }
    setSelectedTab(d->selected);
    placeButtons();
}

void TabSelectorView::buttonReleased(ControlBase* button)
{
    const int index = d->buttons.indexOf(static_cast<ButtonView*>(button));
    // A tab button is a toggle only for its look; selection is ours to keep.
    setSelectedTab(d->selected);
    gotoTab(index);
}

void TabSelectorView::resized()
{
    placeButtons();
}

void TabSelectorView::placeButtons()
{
    if (d->buttons.isEmpty())
        return;
    const int w = qMin(180, width() / d->buttons.size());
    for (int i = 0; i < d->buttons.size(); ++i)
        d->buttons[i]->setGeometry(QRect(i * w, 0, w, height()));
}

void TabSelectorView::draw(QPainter& painter)
{
    painter.fillRect(rect(), QColor(0x20, 0x23, 0x28));
}
