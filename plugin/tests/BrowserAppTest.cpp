#include "core/DataValues.h"
#include "core/Logger.h"
#include "diag/DiagConfig.h"
#include "gui/cef/ChromiumApp.h"

#include "../../framework/tests/support/TestSupport.h"

#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

class ChromiumAppCommandLine : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(mDir.isValid());
        ConfigStore::setPath(mDir.filePath("car.ini"));
        mLocale = GUI_locale.value();
    }
    void TearDown() override { GUI_locale.setValue(mLocale); }

    static QStringList switches()
    {
        CefRefPtr<ChromiumApp> app = new ChromiumApp;
        CefRefPtr<CefCommandLine> commandLine = CefCommandLine::CreateCommandLine();
        app->OnBeforeCommandLineProcessing(CefString(), commandLine);
        std::vector<CefString> argv;
        commandLine->GetArgv(argv);
        QStringList out;
        for (size_t i = 1; i < argv.size(); ++i)
            out << QString::fromStdString(argv[i].ToString());
        return out;
    }

    QTemporaryDir mDir;
    QString mLocale;
};

const QStringList kFirstSix = {"--allow-file-access-from-files", "--lang=en_US", "--kiosk",
                               "--disable-gesture-editing", "--disable-gpu-vsync",
                               "--disable-accelerated-video-decode"};

} // namespace

TEST_F(ChromiumAppCommandLine, DefaultsGiveTheGpuSwitchesAndTouchInOrder)
{
    GUI_locale.setValue("en_US");
    const QStringList expected = kFirstSix + QStringList{"--use-gl=egl", "--disable-gpu-driver-workarounds",
                                                         "--ignore-gpu-blacklist", "--enable-native-gpu-memory-buffers",
                                                         "--enable-gpu-rasterization", "--disable-in-process-stack-traces",
                                                         "--touch-events=enabled"};
    EXPECT_EQ(switches(), expected);
}

TEST_F(ChromiumAppCommandLine, WithoutGpuFeaturesOnlyDisableGpu)
{
    GUI_locale.setValue("en_US");
    ConfigStore::write("chromium/enable_gpu_features", false);
    ConfigStore::write("chromium/enable_touch_events", false);
    const QStringList withoutGpu = kFirstSix + QStringList{"--disable-gpu", "--disable-in-process-stack-traces"};
    EXPECT_EQ(switches(), withoutGpu);

    ConfigStore::write("chromium/enable_touch_events", true);
    ConfigStore::write("chromium/show_perf_meter", true);
    EXPECT_EQ(switches(), withoutGpu + QStringList({"--touch-events=enabled", "--show-fps-counter"}));
}

TEST(ChromiumApp, IsItsOwnBrowserProcessHandler)
{
    CefRefPtr<ChromiumApp> app = new ChromiumApp;
    // Otherwise the engine never calls OnContextInitialized, and local pages keep cookies.
    EXPECT_EQ(app->GetBrowserProcessHandler().get(), static_cast<CefBrowserProcessHandler*>(app.get()));
}

TEST(ChromiumApp, ContextWithoutAnEngineAssertsOnTheCookieManager)
{
    CapturingLogSink log;
    CefRefPtr<ChromiumApp> app = new ChromiumApp;
    app->OnContextInitialized();
    ASSERT_EQ(log.records().size(), 1);
    EXPECT_EQ(log.records().first().level, "ERROR");
    EXPECT_TRUE(log.records().first().message.contains("manager.get()")) << log.lines().join("\n").toStdString();
    EXPECT_TRUE(log.records().first().message.endsWith("(ChromiumApp:31)")) << log.lines().join("\n").toStdString();
}
