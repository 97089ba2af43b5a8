#pragma once

#include "OrvaneExport.h"

#include <QColor>
#include <QImage>
#include <QString>

class QPainter;
class QRect;

// The look shipped with the UI: images under the assets folder's "skin" folder, named by
// their path there ("canview/back.png"), and the text colour. UI thread only.
class ORVANE_EXPORT Skin {
public:
    // The image, loaded once; a null image when it is missing or unreadable (logged once).
    static QImage image(const QString& name);
    static QColor textColor();
    // Stretches an image over a rectangle with `border` pixels of each edge drawn unscaled,
    // so rounded corners and rims keep their shape at any size.
    static void drawBorderImage(QPainter& painter, const QRect& target, const QImage& image, int border);
};
