#include "core/Logger.h"
#include "services/Skin.h"
#include "services/StorageUtils.h"
#include "views/BorderImageView.h"
#include "views/ButtonView.h"
#include "Screen.h"

#include <QPainter>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

// A skin folder of our own, with one framed image: red corners, green edges, blue middle.
struct SkinRig {
    SkinRig()
    {
        QDir(dir.path()).mkpath("skin/test");
        QImage frame(30, 30, QImage::Format_ARGB32);
        frame.fill(Qt::blue);
        QPainter p(&frame);
        p.fillRect(0, 0, 30, 10, Qt::green);
        p.fillRect(0, 20, 30, 10, Qt::green);
        for (const QPoint corner : {QPoint(0, 0), QPoint(20, 0), QPoint(0, 20), QPoint(20, 20)})
            p.fillRect(QRect(corner, QSize(10, 10)), Qt::red);
        p.end();
        frame.save(dir.filePath("skin/test/frame.png"));
        StorageUtils::setAssetsFolder(dir.path());
    }
    ~SkinRig() { StorageUtils::setAssetsFolder(QString()); }
    QTemporaryDir dir;
};

} // namespace

TEST(Skin, ImagesComeFromTheAssetsSkinFolderAndAMissingOneIsLoggedOnce)
{
    SkinRig rig;
    CapturingLogSink log;
    EXPECT_EQ(Skin::image("test/frame.png").size(), QSize(30, 30));
    EXPECT_TRUE(Skin::image("test/none.png").isNull());
    EXPECT_TRUE(Skin::image("test/none.png").isNull());
    EXPECT_EQ(log.lines().size(), 1);
    EXPECT_TRUE(log.lines().first().startsWith("WARN Skin image test/none.png missing"));
}

TEST(Skin, BorderImagesKeepTheirBordersUnscaledAtAnySize)
{
    SkinRig rig;
    QImage canvas(200, 100, QImage::Format_ARGB32);
    canvas.fill(Qt::black);
    QPainter painter(&canvas);
    Skin::drawBorderImage(painter, QRect(0, 0, 200, 100), Skin::image("test/frame.png"), 10);
    painter.end();
    EXPECT_EQ(canvas.pixelColor(9, 9), QColor(Qt::red));
    EXPECT_EQ(canvas.pixelColor(190, 90), QColor(Qt::red));
    EXPECT_EQ(canvas.pixelColor(100, 5), QColor(Qt::green));  // the top edge stretched, not the corner
    EXPECT_EQ(canvas.pixelColor(11, 11), QColor(Qt::blue));
    EXPECT_EQ(canvas.pixelColor(189, 89), QColor(Qt::blue));
}

TEST(BorderImageView, DrawsOverContentWhileTouchesReachWhatIsUnderIt)
{
    SkinRig rig;
    Screen screen(QSize(300, 200));
    ButtonView button(&screen.root, Style(), QString());
    button.setImage("test/frame.png");
    button.setGeometry(QRect(0, 0, 300, 200));
    BorderImageView overlay(&screen.root, {"test/frame.png"}, 10);
    overlay.setGeometry(QRect(0, 0, 300, 200));
    EXPECT_EQ(button.describe(), "test/frame.png");  // scripts know an image button by its image

    QSignalSpy tapped(&button, &ControlBase::tapped);
    screen.tap(QPoint(150, 100));
    EXPECT_EQ(tapped.count(), 1);
    EXPECT_EQ(screen.display.render().pixelColor(2, 2), QColor(Qt::red));  // the overlay's corner is on top
}
