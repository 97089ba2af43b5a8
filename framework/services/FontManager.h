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

// Reads the system's font configuration, the largest part of reading its fonts, on a thread of
// its own while the host goes on starting; the first FontManager waits for what is left of it,
// and so does the end of this object. Make it right after the application object, which sets
// the process's locale (never safe while another thread parses text), and end it before, so the
// thread never outlives Qt's font database. fontconfig itself may be entered from both threads.
class ORVANE_EXPORT FontPreload {
public:
    FontPreload();
    ~FontPreload();
    FontPreload(const FontPreload&) = delete;
    FontPreload& operator=(const FontPreload&) = delete;
};
