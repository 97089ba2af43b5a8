#include "services/LocaleManager.h"

#include "core/DataValues.h"

QLocale::Language LocaleManager::language()
{
    DataValue::ConditionalLocker lock(GUI_language);
    return GUI_language.isValid() ? QLocale::Language(GUI_language.value()) : QLocale::English;
}

bool LocaleManager::isAsianLanguage()
{
    const QLocale::Language lang = language();
    return lang == QLocale::Chinese || lang == QLocale::Japanese || lang == QLocale::Korean;
}

bool LocaleManager::isJapanese()
{
    return language() == QLocale::Japanese;
}

QChar LocaleManager::groupingCharForTitle(const QString& title)
{
    constexpr QChar Other(QLatin1Char('#'));
    if (title.isEmpty())
        return Other;
    QChar c = title.at(0);
    // A precomposed letter decomposes to its base letter first, then the accents.
    if (c.decompositionTag() == QChar::Canonical)
        c = c.decomposition().at(0);
    switch (c.category()) {
    case QChar::Letter_Uppercase:
    case QChar::Letter_Titlecase:
    case QChar::Letter_Lowercase: {
        const QChar upper = c.toUpper();
        // A lower-case letter without a single capital (the German sharp s) files as itself.
        return upper.category() == QChar::Letter_Uppercase || upper.category() == QChar::Letter_Titlecase ? upper : c;
    }
    default:
        return Other;
    }
}

QString LocaleManager::groupingStringForTitle(const QString& title)
{
    return QString(groupingCharForTitle(title));
}
