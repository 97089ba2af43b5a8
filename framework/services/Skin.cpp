#include "services/Skin.h"

#include "core/Logger.h"
#include "services/StorageUtils.h"

#include <QHash>
#include <QPainter>

#include <algorithm>

QImage Skin::image(const QString& name)
{
    // Keyed by the full path: a host that moves its assets gets the new images.
    static QHash<QString, QImage> cache;
    const QString path = StorageUtils::assetsFolder() + QStringLiteral("/skin/") + name;
    const auto it = cache.constFind(path);
    if (it != cache.constEnd())
        return *it;
    QImage loaded(path);
    if (loaded.isNull())
        Logger(nullptr, "WARN") << "Skin image" << name << "missing: no readable" << path;
    else
        loaded = loaded.convertToFormat(QImage::Format_ARGB32_Premultiplied);
    cache.insert(path, loaded);
    return loaded;
}

QColor Skin::textColor()
{
    return QColor(0xe8, 0xec, 0xf1);
}

void Skin::drawBorderImage(QPainter& painter, const QRect& target, const QImage& image, int border)
{
    if (image.isNull() || target.isEmpty())
        return;
    // Borders never overlap, on the image or on the target.
    const int b = qMax(0, std::min({border, image.width() / 2, image.height() / 2, target.width() / 2, target.height() / 2}));
    const int sx[4] = {0, b, image.width() - b, image.width()};
    const int sy[4] = {0, b, image.height() - b, image.height()};
    const int tx[4] = {target.left(), target.left() + b, target.left() + target.width() - b, target.left() + target.width()};
    const int ty[4] = {target.top(), target.top() + b, target.top() + target.height() - b, target.top() + target.height()};
    for (int row = 0; row < 3; ++row) {
        for (int col = 0; col < 3; ++col) {
            const QRect source(sx[col], sy[row], sx[col + 1] - sx[col], sy[row + 1] - sy[row]);
            const QRect to(tx[col], ty[row], tx[col + 1] - tx[col], ty[row + 1] - ty[row]);
            if (!source.isEmpty() && !to.isEmpty())
                painter.drawImage(to, image, source);
        }
    }
}
