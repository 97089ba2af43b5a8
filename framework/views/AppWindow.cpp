#include "views/AppWindow.h"

#include <QPainter>

namespace {

class BarView : public DisplayView {
public:
    using DisplayView::DisplayView;
    void draw(QPainter& painter) override
    {
        painter.fillRect(rect(), QColor(0x10, 0x12, 0x16));
        painter.fillRect(QRect(0, 0, width(), 2), QColor(0x33, 0x38, 0x40));
    }
};

} // namespace

AppWindow::AppWindow(DisplayView* parent)
    : DisplayView(parent)
    , mBar(new BarView(this))
{
    mBar->setObjectName(QStringLiteral("bar"));
}

QRect AppWindow::appArea() const
{
    return QRect(0, 0, width(), qMax(0, height() - BarHeight));
}

void AppWindow::resized()
{
    mBar->setGeometry(QRect(0, qMax(0, height() - BarHeight), width(), BarHeight));
}

void AppWindow::draw(QPainter& painter)
{
    painter.fillRect(rect(), QColor(0x17, 0x1a, 0x1f));
}
