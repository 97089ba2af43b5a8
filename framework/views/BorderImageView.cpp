#include "views/BorderImageView.h"

#include "services/Skin.h"

#include <QJsonArray>
#include <QJsonObject>

BorderImageView::BorderImageView(DisplayView* parent, const QStringList& images, int border)
    : DisplayView(parent)
    , mImages(images)
    , mBorder(border)
{
    setTouchTransparent(true);
}

void BorderImageView::draw(QPainter& painter)
{
    for (const QString& name : qAsConst(mImages))
        Skin::drawBorderImage(painter, rect(), Skin::image(name), mBorder);
}

void BorderImageView::dumpProperties(QJsonObject& out) const
{
    out.insert(QStringLiteral("images"), QJsonArray::fromStringList(mImages));
}
