// What the bench does to its own process as it starts.
#include "BenchHost.h"
#include "hostcommand/HostCommandReport.h"

#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <cstdlib>
#include <unistd.h>

namespace {

int environmentSize()
{
    int count = 0;
    while (environ[count])
        ++count;
    return count;
}

} // namespace

// The fonts are read on a thread while the bench starts, and fontconfig reads the environment
// there. A variable added now may move glibc's environment array under that thread's getenv:
// every variable is set before, by prepare().
TEST(BenchStart, AddsNoEnvironmentVariableOncePrepared)
{
    for (const char* name : {"VEXOR_CEF_USER_DATA_DIR", HostCommandReport::SocketVariable, HostCommandReport::FailingVariable})
        ::unsetenv(name);
    QTemporaryDir data;
    BenchOptions options;
    QString error;
    ASSERT_TRUE(parseBenchOptions({"orvane-bench", "--plugin", DIAG_PLUGIN_PATH, "--data-dir", data.path(),
                                   "--service-port", "0", "--fail-host-command", "bt-reset"},
                                  &options, &error))
        << error.toStdString();
    BenchHost host(options);
    ASSERT_TRUE(host.prepare(&error)) << error.toStdString();
    char** const array = environ;
    const int size = environmentSize();

    ASSERT_TRUE(host.start(&error)) << error.toStdString();
    EXPECT_EQ(environmentSize(), size);
    EXPECT_EQ(environ, array);
    for (const char* name : {"VEXOR_CEF_USER_DATA_DIR", HostCommandReport::SocketVariable, HostCommandReport::FailingVariable})
        EXPECT_NE(std::getenv(name), nullptr) << name;
}
