#pragma once

#include "diag/DiagExport.h"

class AppInfo;
class DisplayView;

// The host's entry: remembers the application record, sets diagAssetsPath and returns the
// diagnostic application as the plug-in's root view.
DIAG_EXPORT DisplayView* LoadPlugin(AppInfo* app, DisplayView* parent);

// The pages and browser runtime a host may make itself (see PluginExports).
extern "C" DIAG_EXPORT const struct PluginExports* orvanePluginExports();

// The application record LoadPlugin was given; null before.
AppInfo* diagAppInfo();
