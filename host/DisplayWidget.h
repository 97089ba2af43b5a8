#pragma once

#include <QWidget>

class DisplayDevice;

// Shows the display's frames in a window, scaled to fit, and turns the mouse into touches.
class DisplayWidget : public QWidget {
    Q_OBJECT
public:
    DisplayWidget(DisplayDevice* display, QWidget* parent = nullptr);
    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void keyReleaseEvent(QKeyEvent* event) override;

private:
    double scale() const;
    QPoint toDisplay(const QPoint& widgetPoint) const;

    DisplayDevice* mDisplay;
};
