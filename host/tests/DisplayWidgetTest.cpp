#include "DisplayWidget.h"
#include "Screen.h"
#include "views/ButtonView.h"

#include <QSignalSpy>
#include <QTest>
#include <gtest/gtest.h>

TEST(DisplayWidget, MouseBecomesTouchesThroughTheScale)
{
    Screen screen;
    ButtonView button(&screen.root, Style("SettingsPushButton"), "GO");
    button.moveTo(1000, 600);
    QSignalSpy released(&button, &ControlBase::released);

    DisplayWidget widget(&screen.display);
    widget.resize(960, 600); // half size
    const QPoint centre = button.rootGeometry().center() / 2;
    QTest::mouseClick(&widget, Qt::LeftButton, Qt::NoModifier, centre);
    EXPECT_EQ(released.count(), 1);
    // The same spot unscaled is far from the button.
    QTest::mouseClick(&widget, Qt::LeftButton, Qt::NoModifier, QPoint(200, 100));
    EXPECT_EQ(released.count(), 1);

    const QImage frame = widget.grab().toImage();
    EXPECT_EQ(frame.size(), QSize(960, 600));
    EXPECT_GT(screen.display.frameCount(), 0);
}
