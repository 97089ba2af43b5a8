#include "views/SettingsPage.h"

#include "core/Logger.h"
#include "views/KineticScroller.h"
#include "views/LabelView.h"
#include "views/LayoutView.h"
#include "views/SlideSwitch.h"

struct SettingsPage::Private {
    explicit Private(SettingsPage* page)
        : mainLayout(new VerticalLayout(page, "SettingsMainLayout"))
        , scroller(new KineticScroller(page))
    {
    }

    LayoutView* mainLayout;
    LayoutView* current = nullptr;
    KineticScroller* scroller;
};

SettingsPage::SettingsPage(DisplayView* parent, const QString& title)
    : PageView(parent, title)
    , d(std::make_unique<Private>(this))
{
    // The layout takes the height of its content; the page shows the part scrolled to.
    connect(d->mainLayout, qOverload<DisplayView*>(&DisplayView::resized), this, &SettingsPage::updateScrollBounds);
    connect(d->scroller, &KineticScroller::offsetChanged, d->mainLayout,
            [this](const QPointF& offset) { d->mainLayout->moveTo(0, -qRound(offset.y())); });
}

SettingsPage::~SettingsPage() = default;

LayoutView* SettingsPage::mainLayout() const
{
    return d->mainLayout;
}

KineticScroller* SettingsPage::scroller() const
{
    return d->scroller;
}

void SettingsPage::resized()
{
    PageView::resized();
    updateScrollBounds();
}

void SettingsPage::updateScrollBounds()
{
    d->scroller->setBounds(QPointF(0, 0), QPointF(0, qMax(0, d->mainLayout->height() - height())));
}

bool SettingsPage::touchEvent(const TouchEvent& event)
{
    d->scroller->touch(event);
    return true;
}

bool SettingsPage::takesOverTouch(const QPoint& movedBy) const
{
    return d->scroller->takesOverVertical(movedBy);
}

LayoutView* SettingsPage::addRow(const QString& style)
{
    d->current = new HorizontalLayout(d->mainLayout, Style(style));
    return d->current;
}

LayoutView* SettingsPage::addLayout(const Style& style)
{
    d->current = new VerticalLayout(d->mainLayout, style);
    return d->current;
}

LayoutView* SettingsPage::currentLayout()
{
    return d->current ? d->current : addRow();
}

LabelView* SettingsPage::addMainLabel(const QString& text, bool newLine)
{
    if (!newLine)
        return new LabelView(currentLayout(), "SettingsMainLabel", text);
    d->current = nullptr;
    return new LabelView(d->mainLayout, "SettingsMainLabel", text);
}

SlideSwitch* SettingsPage::addSwitch(const QString& label, DataValue* value, const QStringList& positions)
{
    if (!value)
        Logger(this, "ERROR") << "switch" << label << "has no data value - it works unbound";
    const bool inGrid = d->current && d->current->direction() == LayoutView::Direction::Grid;
    LayoutView* row = inGrid ? d->current : addRow();
    new LabelView(row, "SettingsRowLabel", label);
    auto* slide = new SlideSwitch(row, positions.isEmpty() ? QStringList{QStringLiteral("OFF"), QStringLiteral("ON")} : positions,
                                  value, "SettingsSlideSwitch");
    // The next switch gets a row of its own too.
    if (!inGrid)
        d->current = nullptr;
    return slide;
}

void SettingsPage::nextLine()
{
    d->current = nullptr;
    auto* gap = new DisplayView(d->mainLayout);
    gap->resize(1, 12);
}
