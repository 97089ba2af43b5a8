#include <QApplication>
#include <gtest/gtest.h>

// Views, fonts and queued signals need an application object and its event loop.
int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
