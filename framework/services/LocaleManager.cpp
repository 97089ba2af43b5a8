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
