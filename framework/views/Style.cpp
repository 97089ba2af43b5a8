#include "views/Style.h"

#include "core/Logger.h"

#include <QHash>

namespace {

const QHash<QString, QString>& baseStyles()
{
    static const QHash<QString, QString> styles{
        {QStringLiteral("SettingsPushButton"), QStringLiteral("ButtonType:medium; ButtonColor:default; Width:250")},
        {QStringLiteral("SettingsToggleButton"), QStringLiteral("ButtonType:toggle; ButtonColor:default; Width:180")},
        {QStringLiteral("TabButton"), QStringLiteral("ButtonType:tab; ButtonColor:default; Width:160")},
        {QStringLiteral("SettingsMainLayout"), QStringLiteral("Direction:vertical; Spacing:18; Margin:30")},
        {QStringLiteral("SettingsHorizontalLayout"), QStringLiteral("Direction:horizontal; Spacing:20; Margin:0")},
    };
    return styles;
}

void parseInto(const QString& text, QString* name, QMap<QString, QString>* properties)
{
    for (const QString& rawPart : text.split(QLatin1Char(';'), Qt::SkipEmptyParts)) {
        const QString part = rawPart.trimmed();
        if (part.isEmpty())
            continue;
        const int colon = part.indexOf(QLatin1Char(':'));
        if (colon < 0) {
            if (name)
                *name = part;
            continue;
        }
        properties->insert(part.left(colon).trimmed().toLower(), part.mid(colon + 1).trimmed());
    }
}

} // namespace

Style::Style(const QString& text)
    : mText(text)
{
    QMap<QString, QString> own;
    parseInto(text, &mName, &own);
    if (!mName.isEmpty()) {
        const auto base = baseStyles().constFind(mName);
        if (base == baseStyles().constEnd())
            Logger(nullptr, "WARN") << "Unknown style" << mName;
        else
            parseInto(*base, nullptr, &mProperties);
    }
    for (auto it = own.cbegin(); it != own.cend(); ++it)
        mProperties.insert(it.key(), it.value());
}

QString Style::property(const QString& key, const QString& fallback) const
{
    return mProperties.value(key.toLower(), fallback);
}

int Style::intProperty(const QString& key, int fallback) const
{
    bool ok = false;
    const int value = property(key).toInt(&ok);
    return ok ? value : fallback;
}

QColor Style::buttonColor(const QString& name)
{
    const QString n = name.trimmed().toLower();
    if (n == QLatin1String("blue"))
        return QColor(0x1f, 0x6f, 0xd1);
    if (n == QLatin1String("red"))
        return QColor(0xc6, 0x28, 0x28);
    if (n == QLatin1String("green"))
        return QColor(0x2e, 0x7d, 0x32);
    return QColor(0x3a, 0x3f, 0x47);
}
