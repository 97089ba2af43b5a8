#include "views/SettingsPage.h"

#include "core/Logger.h"
#include "views/KineticScroller.h"
#include "views/LabelView.h"
#include "views/LayoutView.h"
#include "views/SlideSwitch.h"

SettingsPage::SettingsPage(DisplayView* parent, const QString& title)
    : PageView(parent, title)
    , mMainLayout(new VerticalLayout(this, "SettingsMainLayout"))
    , mScroller(new KineticScroller(this))
{
    // The layout takes the height of its content; the page shows the part scrolled to.
    connect(mMainLayout, qOverload<DisplayView*>(&DisplayView::resized), this, &SettingsPage::updateScrollBounds);
    connect(mScroller, &KineticScroller::offsetChanged, mMainLayout,
            [this](const QPointF& offset) { mMainLayout->moveTo(0, -qRound(offset.y())); });
}

void SettingsPage::resized()
{
    PageView::resized();
    updateScrollBounds();
}

void SettingsPage::updateScrollBounds()
{
    mScroller->setBounds(QPointF(0, 0), QPointF(0, qMax(0, mMainLayout->height() - height())));
}

bool SettingsPage::touchEvent(const TouchEvent& event)
{
    mScroller->touch(event);
    return true;
}

bool SettingsPage::takesOverTouch(const QPoint& movedBy) const
{
    return mScroller->takesOverVertical(movedBy);
}

LayoutView* SettingsPage::addRow(const QString& style)
{
    mCurrent = new HorizontalLayout(mMainLayout, Style(style));
    return mCurrent;
}

LayoutView* SettingsPage::addLayout(const Style& style)
{
    mCurrent = new VerticalLayout(mMainLayout, style);
    return mCurrent;
}

LayoutView* SettingsPage::currentLayout()
{
    return mCurrent ? mCurrent : addRow();
}

LabelView* SettingsPage::addMainLabel(const QString& text, bool newLine)
{
    if (!newLine)
        return new LabelView(currentLayout(), "SettingsMainLabel", text);
    mCurrent = nullptr;
    return new LabelView(mMainLayout, "SettingsMainLabel", text);
}

SlideSwitch* SettingsPage::addSwitch(const QString& label, DataValue* value, const QStringList& positions)
{
    if (!value)
        Logger(this, "ERROR") << "switch" << label << "has no data value - it works unbound";
    const bool inGrid = mCurrent && mCurrent->direction() == LayoutView::Direction::Grid;
    LayoutView* row = inGrid ? mCurrent : addRow();
    new LabelView(row, "SettingsRowLabel", label);
    auto* slide = new SlideSwitch(row, positions.isEmpty() ? QStringList{QStringLiteral("OFF"), QStringLiteral("ON")} : positions,
                                  value, "SettingsSlideSwitch");
    // The next switch gets a row of its own too.
    if (!inGrid)
        mCurrent = nullptr;
    return slide;
}

void SettingsPage::nextLine()
{
    mCurrent = nullptr;
    auto* gap = new DisplayView(mMainLayout);
    gap->resize(1, 12);
}
