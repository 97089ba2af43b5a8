#pragma once

#include "OrvaneExport.h"

#include <QLocale>

// The UI language, taken from the GUI_language data value (a QLocale::Language number).
class ORVANE_EXPORT LocaleManager {
public:
    static QLocale::Language language();
    // Chinese, Japanese and Korean, which need CJK fonts and texts.
    static bool isAsianLanguage();
    static bool isJapanese();
};
