#include "views/popup/PopupView.h"

#include "views/CenterDisplay.h"
#include "views/popup/OverlayView.h"

#include <QJsonObject>
#include <QPainter>
#include <QPainterPath>

struct PopupView::Private {
    bool modal;
    bool open = false;
    bool closesOnOutsideTouch = false;
};

PopupView::PopupView(bool modal)
    : DisplayView(theCenterDisplay->overlay())
    , d(std::make_unique<Private>())
{
    d->modal = modal;
    hide();
}

PopupView::~PopupView()
{
    if (d->open)
        theCenterDisplay->overlay()->popupClosed(this);
}

void PopupView::setClosesOnOutsideTouch(bool on)
{
    d->closesOnOutsideTouch = on;
}

bool PopupView::isModal() const
{
    return d->modal;
}

bool PopupView::isOpen() const
{
    return d->open;
}

bool PopupView::closesOnOutsideTouch() const
{
    return d->closesOnOutsideTouch;
}

void PopupView::open()
{
    OverlayView* overlay = theCenterDisplay->overlay();
    if (x() == 0 && y() == 0)
        moveTo((overlay->width() - width()) / 2, (overlay->height() - height()) / 2);
    d->open = true;
    overlay->popupOpened(this);
    show();
}

void PopupView::close()
{
    if (!d->open)
        return;
    d->open = false;
    theCenterDisplay->overlay()->popupClosed(this);
    hide();
    emit closed(this);
}

void PopupView::dismiss()
{
    close();
    deleteLater();
}

void PopupView::draw(QPainter& painter)
{
    painter.setRenderHint(QPainter::Antialiasing);
    QPainterPath path;
    path.addRoundedRect(QRectF(rect()).adjusted(1, 1, -1, -1), 12, 12);
    painter.fillPath(path, QColor(0x24, 0x28, 0x2f));
    painter.setPen(QPen(QColor(0x4a, 0x52, 0x5e), 2));
    painter.drawPath(path);
}

void PopupView::dumpProperties(QJsonObject& out) const
{
    out.insert(QStringLiteral("modal"), d->modal);
    out.insert(QStringLiteral("open"), d->open);
}
