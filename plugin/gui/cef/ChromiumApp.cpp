#include "gui/cef/ChromiumApp.h"

#include "core/DataValues.h"
#include "core/Logger.h"
#include "diag/DiagConfig.h"
#include "gui/cef/ChromiumUtils.h"

#include "include/cef_cookie.h"

ChromiumApp::ChromiumApp()
{
    if (DebugChromium.value())
        Logger(this, "INFO") << "ChromiumApp::ChromiumApp()";
}

ChromiumApp::~ChromiumApp()
{
    if (DebugChromium.value())
        Logger(this, "INFO") << "virtual ChromiumApp::~ChromiumApp()";
}

void ChromiumApp::OnBeforeCommandLineProcessing(const CefString& processType,
                                                CefRefPtr<CefCommandLine> commandLine)
{
    (void)processType;
    QString locale;
    {
        DataValue::ConditionalLocker locker(GUI_locale);
        locale = GUI_locale.value();
    }

    commandLine->AppendSwitch("allow-file-access-from-files");
    commandLine->AppendSwitchWithValue("lang", ChromiumUtils::toCefString(locale));
    commandLine->AppendSwitch("kiosk");
    commandLine->AppendSwitch("disable-gesture-editing");
    commandLine->AppendSwitch("disable-gpu-vsync");
    commandLine->AppendSwitch("disable-accelerated-video-decode");
    if (ChromiumEnableGpuFeatures.value()) {
        commandLine->AppendSwitchWithValue("use-gl", "egl");
        commandLine->AppendSwitch("disable-gpu-driver-workarounds");
        commandLine->AppendSwitch("ignore-gpu-blacklist");
        commandLine->AppendSwitch("enable-native-gpu-memory-buffers");
        commandLine->AppendSwitch("enable-gpu-rasterization");
    } else {
        commandLine->AppendSwitch("disable-gpu");
    }
    commandLine->AppendSwitch("disable-in-process-stack-traces");
    if (ChromiumEnableTouchEvents.value())
        commandLine->AppendSwitchWithValue("touch-events", "enabled");
    // Given with its dashes: the engine takes a switch that already carries them.
    if (ChromiumShowPerfMeter.value())
        commandLine->AppendSwitch("--show-fps-counter");
}

CefRefPtr<CefBrowserProcessHandler> ChromiumApp::GetBrowserProcessHandler()
{
    return this;
}

void ChromiumApp::OnContextInitialized()
{
    if (DebugChromium.value())
        Logger(this, "INFO") << "virtual void ChromiumApp::OnContextInitialized()";
    CefRefPtr<CefCookieManager> manager = CefCookieManager::GetGlobalManager(nullptr);
    if (!manager.get()) {
        Logger::logAssert("manager.get()", QString(), "ChromiumApp", 31);
        return;
    }
    // Local pages get no cookie store.
    manager->SetSupportedSchemes({CefString("http"), CefString("https")}, nullptr);
}
