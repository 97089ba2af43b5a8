#pragma once

#include "OrvaneExport.h"
#include "views/Padding.h"

#include <QColor>
#include <QList>
#include <QMap>
#include <QString>

// A style string: a base style name followed by "Key:Value" properties, separated by
// semicolons ("SettingsPushButton; Width:250"). Properties of the named base style apply
// first; the string's own properties override them. An unknown style name, an unknown key or
// a value of the wrong form is logged at WARN (once per style text) and left out, so the base
// style's value or the caller's fallback applies.
//
// Keys (case-insensitive) and their forms:
//   ButtonType    small | medium | large | round | toggle | roundtoggle | tab
//   ButtonColor   default | blue | red | green | warning
//   Direction     vertical | horizontal | grid
//   Width, Height, Spacing, FlowWidth, RowHeight, PositionWidth, FontSize   a size (n >= 0)
//   Widths        sizes separated by commas ("300,900"): a grid's column widths
//   LayoutMargin  four sizes: left, top, right, bottom ("50,0,0,0")
//   Bold          true | false
//   TextColor, ShadowColor   a colour name or "#rrggbb"
class ORVANE_EXPORT Style {
public:
    Style() = default;
    Style(const char* text) : Style(QString::fromUtf8(text)) {}
    Style(const QString& text);

    QString text() const { return mText; }
    QString name() const { return mName; }
    bool has(const QString& key) const { return mProperties.contains(key.toLower()); }
    // Choice values (ButtonType, ButtonColor, Direction) come back in lower case.
    QString property(const QString& key, const QString& fallback = QString()) const;
    int intProperty(const QString& key, int fallback) const;
    bool boolProperty(const QString& key, bool fallback) const;
    QColor colorProperty(const QString& key, const QColor& fallback) const;
    // Empty when the style does not set the key.
    QList<int> intListProperty(const QString& key) const;
    Padding paddingProperty(const QString& key, const Padding& fallback = Padding()) const;

    // Button colours by name ("default", "blue", "red", "green", "warning").
    static QColor buttonColor(const QString& name);

private:
    QString mText;
    QString mName;
    QMap<QString, QString> mProperties; // keys in lower case, values already checked
};
