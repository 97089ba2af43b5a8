#pragma once

// The plug-in's settings. Read them with value() each time: the host's store may change.

#include "diag/DiagExport.h"
#include "core/ConfigValue.h"

extern DIAG_EXPORT ConfigBoolValue DebugChromium;
extern DIAG_EXPORT ConfigStringValue ChromiumUserAgent;
extern DIAG_EXPORT ConfigBoolValue ChromiumEnableTouchEvents;
extern DIAG_EXPORT ConfigBoolValue ChromiumEnableMouseEvents;
extern DIAG_EXPORT ConfigBoolValue ChromiumEnableInputShaping;
extern DIAG_EXPORT ConfigBoolValue ChromiumShowPerfMeter;
extern DIAG_EXPORT ConfigIntValue ChromiumRenderProcessMaxRetry;
extern DIAG_EXPORT ConfigBoolValue ChromiumEnableCompositeRedirect;
extern DIAG_EXPORT ConfigRealValue ChromiumScrollScale;
extern DIAG_EXPORT ConfigRealValue ChromiumScrollDuration;
extern DIAG_EXPORT ConfigBoolValue ChromiumEnableGpuFeatures;
extern DIAG_EXPORT ConfigIntValue MinSelectableSpeedLimit;

// Not exported: only the diagnostic pages read these.
extern ConfigStringValue DiagVitalsUrl;   // "%1" is the framework's assets folder
extern ConfigStringValue DiagDravikUrl;

// Set by LoadPlugin to the plug-in directory followed by "/assets"; empty before.
extern DIAG_EXPORT QString diagAssetsPath;

// The CAN filter file.
extern const QString DiagCANConfigFileName;
extern const QString DiagCANConfigDirectory;
