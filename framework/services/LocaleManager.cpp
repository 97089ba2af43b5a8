#include "services/LocaleManager.h"

#include "core/DataValues.h"

QString LocaleManager::language()
{
    DataValue::ConditionalLocker lock(GUI_language);
    return GUI_language.value();
}

bool LocaleManager::isAsianLanguage()
{
    const QString lang = language().left(2).toLower();
    return lang == QLatin1String("zh") || lang == QLatin1String("ja") || lang == QLatin1String("ko");
}

bool LocaleManager::isJapanese()
{
    return language().left(2).toLower() == QLatin1String("ja");
}
