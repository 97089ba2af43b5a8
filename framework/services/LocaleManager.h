#pragma once

#include "OrvaneExport.h"

#include <QChar>
#include <QLocale>
#include <QString>

// The UI language, taken from the GUI_language data value (a QLocale::Language number).
class ORVANE_EXPORT LocaleManager {
public:
    static QLocale::Language language();
    // Chinese, Japanese and Korean, which need CJK fonts and texts.
    static bool isAsianLanguage();
    static bool isJapanese();

    // The character a title is filed under in a long list: its first letter, upper-cased,
    // with accents dropped ("état" under 'E'). Letters of other cased alphabets (Greek,
    // Cyrillic) are filed under their own capital. Digits, signs, blanks, an empty title and
    // letters of scripts without case (CJK, Arabic, Hebrew) all go under '#': one section
    // for them keeps a list of such names from splitting into a section per character.
    static QChar groupingCharForTitle(const QString& title);
    // The same as a section header's text.
    static QString groupingStringForTitle(const QString& title);
};
