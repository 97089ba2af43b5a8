#include "diag/PluginEntry.h"

#include "diag/DiagConfig.h"
#include "diag/DiagnosticTools.h"
#include "services/AppInfo.h"

namespace {
AppInfo* gAppInfo = nullptr;
}

AppInfo* diagAppInfo()
{
    return gAppInfo;
}

DisplayView* LoadPlugin(AppInfo* app, DisplayView* parent)
{
    gAppInfo = app;
    diagAssetsPath = app->directoryPath() + QStringLiteral("/assets");
    return new DiagnosticTools(parent);
}
