#include "diag/ButtonViewPage.h"

#include "views/ButtonView.h"
#include "views/LayoutView.h"

namespace {

const char* const Colors[] = {"default", "blue", "red", "green"};

QString cellStyle(const char* type, const char* color)
{
    return QStringLiteral("ButtonType:%1; ButtonColor:%2; Width:180").arg(QLatin1String(type), QLatin1String(color));
}

} // namespace

ButtonViewPage::ButtonViewPage(DisplayView* parent)
    : SettingsPage(parent, QStringLiteral("BUTTONS"))
{
}

void ButtonViewPage::doPageLoad()
{
    for (const char* color : Colors) {
        LayoutView* row = addRow(QStringLiteral("SettingsHorizontalLayout"));
        new ButtonView(row, cellStyle("small", color), QStringLiteral("50 px button"));
        new ButtonView(row, cellStyle("medium", color), QStringLiteral("60 px button"));
        new ButtonView(row, cellStyle("large", color), QStringLiteral("70 px button"));
        new ButtonView(row, cellStyle("round", color), QStringLiteral("Round"));
    }

    LayoutView* disabledRow = addRow(QStringLiteral("SettingsHorizontalLayout"));
    for (const char* color : Colors) {
        auto* button = new ButtonView(disabledRow, cellStyle("medium", color), QStringLiteral("60 px button"));
        button->disable();
    }

    LayoutView* toggleRow = addRow(QStringLiteral("SettingsHorizontalLayout"));
    new ButtonView(toggleRow, Style("SettingsToggleButton"), QStringLiteral("Toggle"));
    auto* roundToggle = new ButtonView(toggleRow, Style("ButtonType:roundtoggle; ButtonColor:default; Width:180"),
                                       QStringLiteral("Round Toggle"));
    roundToggle->setToggle(true);
    roundToggle->setButtonColor();
}
