#include "DisplayWidget.h"

#include "display/DisplayDevice.h"
#include "views/DisplayView.h"

#include <QGuiApplication>
#include <QMouseEvent>
#include <QPaintEvent>
#include <QPainter>
#include <QScreen>

DisplayWidget::DisplayWidget(DisplayDevice* display, QWidget* parent)
    : QWidget(parent)
    , mDisplay(display)
{
    setFocusPolicy(Qt::StrongFocus);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    connect(display, &DisplayDevice::frameRequested, this, qOverload<>(&QWidget::update));
    connect(display, &DisplayDevice::areaRequested, this, [this](const QRect& area) {
        // A pixel more each side: scaling smooths across the edge.
        update(QRectF(QPointF(area.topLeft()) * scale(), QSizeF(area.size()) * scale()).toAlignedRect().adjusted(-1, -1, 1, 1));
    });
}

QSize DisplayWidget::sizeHint() const
{
    // Fit the car's display on the desk's screen, leaving room for the side panel.
    const QSize full = mDisplay->size();
    const QScreen* screen = QGuiApplication::primaryScreen();
    if (!screen)
        return full;
    const QSize room = screen->availableSize() - QSize(420, 60);
    return full.scaled(room.boundedTo(full), Qt::KeepAspectRatio);
}

double DisplayWidget::scale() const
{
    const QSize full = mDisplay->size();
    return qMin(double(width()) / full.width(), double(height()) / full.height());
}

QPoint DisplayWidget::toDisplay(const QPoint& widgetPoint) const
{
    return (QPointF(widgetPoint) / scale()).toPoint();
}

void DisplayWidget::paintEvent(QPaintEvent* event)
{
    QPainter painter(this);
    painter.fillRect(event->rect(), Qt::black);
    painter.scale(scale(), scale());
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    const QRect area = event->rect() == rect() ? QRect() : QRectF(QPointF(event->rect().topLeft()) / scale(), QSizeF(event->rect().size()) / scale()).toAlignedRect().adjusted(-1, -1, 1, 1);
    mDisplay->paint(painter, area);
}

void DisplayWidget::mousePressEvent(QMouseEvent* event)
{
    mDisplay->touch(int(TouchEvent::Kind::Press), toDisplay(event->pos()));
}

void DisplayWidget::mouseMoveEvent(QMouseEvent* event)
{
    mDisplay->touch(int(TouchEvent::Kind::Move), toDisplay(event->pos()));
}

void DisplayWidget::mouseReleaseEvent(QMouseEvent* event)
{
    mDisplay->touch(int(TouchEvent::Kind::Release), toDisplay(event->pos()));
}

void DisplayWidget::keyPressEvent(QKeyEvent* event)
{
    mDisplay->key(event);
}

void DisplayWidget::keyReleaseEvent(QKeyEvent* event)
{
    mDisplay->key(event);
}
