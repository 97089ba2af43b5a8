#include "DisplayWidget.h"
#include "display/DisplayDevice.h"
#include "views/ButtonView.h"

#include <QSignalSpy>
#include <QTest>
#include <gtest/gtest.h>

TEST(DisplayWidget, MouseBecomesTouchesThroughTheScale)
{
    DisplayView root;
    root.resize(1920, 1200);
    DisplayDevice display(&root, QSize(1920, 1200));
    ButtonView button(&root, Style("SettingsPushButton"), "GO");
    button.moveTo(1000, 600);
    QSignalSpy released(&button, &ControlBase::released);

    DisplayWidget widget(&display);
    widget.resize(960, 600); // half size
    const QPoint centre = button.rootGeometry().center() / 2;
    QTest::mouseClick(&widget, Qt::LeftButton, Qt::NoModifier, centre);
    EXPECT_EQ(released.count(), 1);
    // The same spot unscaled is far from the button.
    QTest::mouseClick(&widget, Qt::LeftButton, Qt::NoModifier, QPoint(200, 100));
    EXPECT_EQ(released.count(), 1);

    const QImage frame = widget.grab().toImage();
    EXPECT_EQ(frame.size(), QSize(960, 600));
    EXPECT_GT(display.frameCount(), 0);
}
