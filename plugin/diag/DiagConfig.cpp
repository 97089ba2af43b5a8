#include "diag/DiagConfig.h"

ConfigBoolValue DebugChromium(QStringLiteral("chromium/debug"), false);
ConfigStringValue ChromiumUserAgent(
    QStringLiteral("chromium/user_agent"),
    QStringLiteral("Mozilla/5.0 (X11; GNU/Linux) AppleWebKit/537.36 (KHTML, like Gecko) Chromium/73.0.3683.101 "
                   "Chrome/73.0.3683.101 Safari/537.36 Vexor OrvaneBrowser"));
ConfigBoolValue ChromiumEnableTouchEvents(QStringLiteral("chromium/enable_touch_events"), true);
ConfigBoolValue ChromiumEnableMouseEvents(QStringLiteral("chromium/enable_mouse_events"), false);
ConfigBoolValue ChromiumEnableInputShaping(QStringLiteral("chromium/enable_input_shaping"), false);
ConfigBoolValue ChromiumShowPerfMeter(QStringLiteral("chromium/show_perf_meter"), false);
// The blank in this key is how the host's store has always spelled it.
ConfigIntValue ChromiumRenderProcessMaxRetry(QStringLiteral("chromium/render_process_max retry"), 5);
ConfigBoolValue ChromiumEnableCompositeRedirect(QStringLiteral("chromium/enable_composite_redirect"), true);
ConfigRealValue ChromiumScrollScale(QStringLiteral("chromium/scroll_scale"), 10.0);
ConfigRealValue ChromiumScrollDuration(QStringLiteral("chromium/scroll_duration"), 1.5);
ConfigBoolValue ChromiumEnableGpuFeatures(QStringLiteral("chromium/enable_gpu_features"), true);
ConfigIntValue MinSelectableSpeedLimit(QStringLiteral("gui/min_selectable_speed_limit"), 85);

ConfigStringValue DiagVitalsUrl(QStringLiteral("diag/vitals_url"), QStringLiteral("%1/web_content/vitals/vitals.html"));
// The service tool runs on the car's own diagnostic host.
ConfigStringValue DiagDravikUrl(QStringLiteral("diag/dravik_url"), QStringLiteral("http://127.0.0.1:8080/"));

QString diagAssetsPath;

const QString DiagCANConfigFileName = QStringLiteral("diagCAN-config.json");
const QString DiagCANConfigDirectory = QStringLiteral("/var/etc");
