#pragma once

#include "OrvaneExport.h"

#include <QFont>
#include <QList>

// The display's fonts: five proportional and five monospaced families from the system's font
// packages, in a fixed order. The last proportional font is the UI's default.
class ORVANE_EXPORT FontManager {
public:
    static FontManager* instance();

    QList<QFont> proportionalFonts() const { return mProportional; }
    QList<QFont> monospacedFonts() const { return mMonospaced; }
    QFont defaultFont() const { return mProportional.last(); }
    // Families the system could not provide (Qt substitutes another font for them).
    QStringList missingFamilies() const;

    static const QStringList& proportionalFamilies();
    static const QStringList& monospacedFamilies();

private:
    FontManager();
    QList<QFont> mProportional;
    QList<QFont> mMonospaced;
};
