#pragma once

#include "OrvaneExport.h"

#include <QColor>
#include <QMap>
#include <QString>

// A style string: a base style name followed by "Key:Value" properties, separated by
// semicolons ("SettingsPushButton; Width:250"). Properties of the named base style apply
// first; the string's own properties override them.
class ORVANE_EXPORT Style {
public:
    Style() = default;
    Style(const char* text) : Style(QString::fromUtf8(text)) {}
    Style(const QString& text);

    QString text() const { return mText; }
    QString name() const { return mName; }
    bool has(const QString& key) const { return mProperties.contains(key.toLower()); }
    QString property(const QString& key, const QString& fallback = QString()) const;
    int intProperty(const QString& key, int fallback) const;

    // Button colours by name ("default", "blue", "red", "green").
    static QColor buttonColor(const QString& name);

private:
    QString mText;
    QString mName;
    QMap<QString, QString> mProperties; // keys in lower case
};
