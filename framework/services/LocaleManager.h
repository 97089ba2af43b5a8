#pragma once

#include "OrvaneExport.h"

#include <QString>

// The UI language, taken from the GUI_language data value ("en_US", "ja_JP", ...).
class ORVANE_EXPORT LocaleManager {
public:
    static QString language();
    // Chinese, Japanese and Korean, which need CJK fonts and texts.
    static bool isAsianLanguage();
    static bool isJapanese();
};
