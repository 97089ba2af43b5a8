#include "PluginLoader.h"

#include <gtest/gtest.h>

TEST(PluginLoader, FindsTheMangledEntryOfTheBuiltPlugin)
{
    PluginLoader loader;
    QString error;
    ASSERT_TRUE(loader.load(DIAG_PLUGIN_PATH, &error)) << error.toStdString();
    EXPECT_TRUE(loader.directory().endsWith("plugins/DiagnosticTools"));
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
}
