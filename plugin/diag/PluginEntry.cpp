#include "diag/PluginEntry.h"

#include "diag/ButtonViewPage.h"
#include "diag/DeveloperNavigationPage.h"
#include "diag/DiagConfig.h"
#include "diag/DiagnosticTools.h"
#include "gui/cef/ChromiumManager.h"
#include "gui/cef/WebKitView.h"
#include "services/AppInfo.h"
#include "services/PluginExports.h"

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

const PluginExports* orvanePluginExports()
{
    static const QMetaObject* const pages[] = {&DeveloperNavigationPage::staticMetaObject,
                                               &ButtonViewPage::staticMetaObject, nullptr};
    static const PluginExports exports{
        pages,
        &WebKitView::staticMetaObject,
        [](QObject* parent) { return new ChromiumManager(parent); },
    };
    return &exports;
}
