#include "PluginLoader.h"
#include "services/PluginExports.h"

#include <QMetaObject>

#include <gtest/gtest.h>

TEST(PluginLoader, FindsTheEntryAndWhatTheBuiltPluginExports)
{
    PluginLoader loader;
    QString error;
    ASSERT_TRUE(loader.load(DIAG_PLUGIN_PATH, &error)) << error.toStdString();
    EXPECT_TRUE(loader.directory().endsWith("plugins/DiagnosticTools"));

    ASSERT_TRUE(loader.exports());
    for (const char* page : {"DeveloperNavigationPage", "ButtonViewPage"}) {
        const QMetaObject* meta = loader.exportedPage(page);
        ASSERT_TRUE(meta) << page;
        EXPECT_GE(meta->indexOfConstructor(QStringLiteral("%1(DisplayView*)").arg(QLatin1String(page)).toLatin1()), 0) << page;
    }
    EXPECT_EQ(loader.exportedPage("DiagnosticTools"), nullptr) << "the root view is LoadPlugin's";
    EXPECT_EQ(loader.exportedPage("NoSuchPage"), nullptr);
    ASSERT_TRUE(loader.exports()->webView);
    EXPECT_STREQ(loader.exports()->webView->className(), "WebKitView");
    EXPECT_TRUE(loader.exports()->createBrowserRuntime);
}

TEST(PluginLoader, ExplainsWhyALibraryCannotBeUsed)
{
    PluginLoader loader;
    QString error;
    EXPECT_FALSE(loader.load("/nonexistent/libDiagnosticTools.so", &error));
    EXPECT_EQ(error, "plug-in /nonexistent/libDiagnosticTools.so does not exist");
    EXPECT_FALSE(loader.load(FRAMEWORK_LIBRARY_PATH, &error)); // a library, but no plug-in
    EXPECT_TRUE(error.endsWith("has no LoadPlugin entry")) << error.toStdString();
    EXPECT_EQ(loader.create(nullptr, nullptr), nullptr); // nothing loaded, nothing created
    EXPECT_EQ(loader.exportedPage("DeveloperNavigationPage"), nullptr);
}
