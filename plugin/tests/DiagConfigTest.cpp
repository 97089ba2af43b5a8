// Runs without LoadPlugin ever being called in this process.
#include "diag/DiagConfig.h"

#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>

TEST(DiagConfig, AnEmptyStoreYieldsExactlyTheDefaults)
{
    QTemporaryDir dir;
    const QString path = dir.filePath("empty.ini");
    QFile(path).open(QIODevice::WriteOnly);
    ConfigStore::setPath(path);

    EXPECT_EQ(DebugChromium.key(), "chromium/debug");
    EXPECT_FALSE(DebugChromium.value());
    EXPECT_EQ(ChromiumUserAgent.value(),
              "Mozilla/5.0 (X11; GNU/Linux) AppleWebKit/537.36 (KHTML, like Gecko) Chromium/73.0.3683.101 "
              "Chrome/73.0.3683.101 Safari/537.36 Vexor OrvaneBrowser");
    EXPECT_TRUE(ChromiumEnableTouchEvents.value());
    EXPECT_FALSE(ChromiumEnableMouseEvents.value());
    EXPECT_FALSE(ChromiumEnableInputShaping.value());
    EXPECT_FALSE(ChromiumShowPerfMeter.value());
    EXPECT_EQ(ChromiumRenderProcessMaxRetry.key(), "chromium/render_process_max retry");
    EXPECT_EQ(ChromiumRenderProcessMaxRetry.value(), 5);
    EXPECT_TRUE(ChromiumEnableCompositeRedirect.value());
    EXPECT_DOUBLE_EQ(ChromiumScrollScale.value(), 10.0);
    EXPECT_DOUBLE_EQ(ChromiumScrollDuration.value(), 1.5);
    EXPECT_TRUE(ChromiumEnableGpuFeatures.value());
    EXPECT_EQ(MinSelectableSpeedLimit.key(), "gui/min_selectable_speed_limit");
    EXPECT_EQ(MinSelectableSpeedLimit.value(), 85);
    EXPECT_EQ(DiagVitalsUrl.value(), "%1/web_content/vitals/vitals.html");
    EXPECT_TRUE(DiagDravikUrl.value().contains(":8080")) << DiagDravikUrl.value().toStdString();
    EXPECT_EQ(DiagCANConfigFileName, "diagCAN-config.json");
    EXPECT_EQ(DiagCANConfigDirectory, "/var/etc");
}

TEST(DiagConfig, StoredValuesWinAndAreReadEachTime)
{
    QTemporaryDir dir;
    const QString path = dir.filePath("car.ini");
    ConfigStore::setPath(path);
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("[chromium]\nrender_process_max retry=1\ndebug=true\n");
    file.close();
    EXPECT_EQ(ChromiumRenderProcessMaxRetry.value(), 1);
    EXPECT_TRUE(DebugChromium.value());
    ConfigStore::write("chromium/render_process_max retry", 9);
    EXPECT_EQ(ChromiumRenderProcessMaxRetry.value(), 9);
}

TEST(DiagConfig, AssetsPathIsEmptyBeforeLoad)
{
    EXPECT_TRUE(diagAssetsPath.isEmpty());
}
