#include "views/BorderImageView.h"

#include "services/Skin.h"

#include <QJsonArray>
#include <QJsonObject>

struct BorderImageView::Private {
    QStringList images;
    int border;
};

BorderImageView::BorderImageView(DisplayView* parent, const QStringList& images, int border)
    : DisplayView(parent)
    , d(std::make_unique<Private>())
{
    d->images = images;
    d->border = border;
    setTouchTransparent(true);
}

BorderImageView::~BorderImageView() = default;

void BorderImageView::draw(QPainter& painter)
{
    for (const QString& name : qAsConst(d->images))
        Skin::drawBorderImage(painter, rect(), Skin::image(name), d->border);
}

void BorderImageView::dumpProperties(QJsonObject& out) const
{
    out.insert(QStringLiteral("images"), QJsonArray::fromStringList(d->images));
}
