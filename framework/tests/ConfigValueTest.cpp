#include "core/ConfigValue.h"

#include <QFile>
#include <QTemporaryDir>
#include <atomic>
#include <thread>
#include "core/Logger.h"
#include <gtest/gtest.h>

namespace {

class ConfigValueTest : public ::testing::Test {
protected:
    void SetUp() override { ConfigStore::setPath(dir.filePath("orvane.ini")); }
    void TearDown() override { ConfigStore::setPath(QString()); }

    void writeStore(const QByteArray& text)
    {
        QFile file(ConfigStore::path());
        ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        file.write(text);
    }

    QTemporaryDir dir;
};

} // namespace

TEST_F(ConfigValueTest, DefaultsWhenStoreOrKeyIsMissing)
{
    ConfigIntValue retries("chromium/render_process_max retry", 5);
    ConfigStringValue agent("chromium/user_agent", "Agent/1.0");
    ConfigRealValue scale("chromium/scroll_scale", 10.0);
    EXPECT_EQ(retries.value(), 5); // no file at all
    writeStore("[gui]\nother=1\n");
    EXPECT_EQ(retries.value(), 5);
    EXPECT_EQ(agent.value(), "Agent/1.0");
    EXPECT_DOUBLE_EQ(scale.value(), 10.0);
    ConfigStore::setPath(QString());
    EXPECT_TRUE(ConfigBoolValue("chromium/debug", true).value());
}

TEST_F(ConfigValueTest, KeysWithBlanksSectionsAndVerbatimValues)
{
    writeStore("; comment\n"
               "[chromium]\n"
               "render_process_max retry = 3\n"
               "user_agent=Mozilla/5.0 (X11; GNU/Linux) AppleWebKit/537.36 (KHTML, like Gecko)\n"
               "debug=true\n"
               "[General]\n"
               "diag/vitals_url=\"%1/web_content/vitals/vitals.html\"\n");
    EXPECT_EQ(ConfigIntValue("chromium/render_process_max retry", 5).value(), 3);
    EXPECT_EQ(ConfigStringValue("chromium/user_agent", "").value(),
              "Mozilla/5.0 (X11; GNU/Linux) AppleWebKit/537.36 (KHTML, like Gecko)");
    EXPECT_TRUE(ConfigBoolValue("chromium/debug", false).value());
    EXPECT_EQ(ConfigStringValue("diag/vitals_url", "").value(), "%1/web_content/vitals/vitals.html");
    // The underscore spelling is a different key.
    EXPECT_EQ(ConfigIntValue("chromium/render_process_max_retry", 5).value(), 5);
}

TEST_F(ConfigValueTest, EveryReadSeesTheStoreAsItIsNow)
{
    ConfigIntValue limit("gui/min_selectable_speed_limit", 85);
    writeStore("gui/min_selectable_speed_limit=60\n");
    EXPECT_EQ(limit.value(), 60);
    writeStore("gui/min_selectable_speed_limit=70\n");
    EXPECT_EQ(limit.value(), 70);
    ConfigStore::write("gui/min_selectable_speed_limit", 75);
    ConfigStore::write("chromium/render_process_max retry", 2);
    EXPECT_EQ(limit.value(), 75);
    EXPECT_EQ(ConfigIntValue("chromium/render_process_max retry", 5).value(), 2);
}

TEST_F(ConfigValueTest, UnreadableValuesFallBackToTheDefault)
{
    writeStore("gui/min_selectable_speed_limit=fast\nchromium/debug=perhaps\n");
    EXPECT_EQ(ConfigIntValue("gui/min_selectable_speed_limit", 85).value(), 85);
    EXPECT_TRUE(ConfigBoolValue("chromium/debug", true).value());
}

TEST_F(ConfigValueTest, CheckNamesTheFirstMalformedLine)
{
    QString error;
    writeStore("[chromium]\ndebug=true\nthis line has no equals sign\n");
    EXPECT_FALSE(ConfigStore::check(ConfigStore::path(), &error));
    EXPECT_TRUE(error.endsWith(":3: expected [section], key=value or a comment, found 'this line has no equals sign'"))
        << error.toStdString();
    // A malformed store reads as defaults rather than half a file.
    EXPECT_FALSE(ConfigBoolValue("chromium/debug", false).value());

    EXPECT_FALSE(ConfigStore::check(dir.filePath("missing.ini"), &error));
    EXPECT_TRUE(error.startsWith("cannot read configuration file")) << error.toStdString();
}

TEST_F(ConfigValueTest, WritingAKeyKeepsEveryOtherLine)
{
    writeStore("; the car's settings\n"
               "[chromium]\n"
               "debug=true\n"
               "this line has no equals sign\n"
               "user_agent=Agent/1.0\n");
    ASSERT_TRUE(ConfigStore::write("chromium/debug", "false"));
    ASSERT_TRUE(ConfigStore::write("diag/vitals_url", "http://x/"));
    QFile file(ConfigStore::path());
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(QString::fromUtf8(file.readAll()),
              "; the car's settings\n[chromium]\ndebug=false\nthis line has no equals sign\nuser_agent=Agent/1.0\n"
              "[General]\ndiag/vitals_url=http://x/\n");
    // Fixing the bad line makes both writes readable.
    writeStore("[chromium]\ndebug=false\n[General]\ndiag/vitals_url=http://x/\n");
    EXPECT_EQ(ConfigStringValue("diag/vitals_url", "").value(), "http://x/");
}

TEST_F(ConfigValueTest, AFailedWriteSaysSoAndChangesNothing)
{
    writeStore("gui/min_selectable_speed_limit=60\n");
    CapturingLogSink log;
    ConfigStore::setPath(dir.filePath("no/such/folder/orvane.ini"));
    EXPECT_FALSE(ConfigStore::write("gui/min_selectable_speed_limit", 70));
    EXPECT_EQ(log.lines().filter("ERROR Configuration value gui/min_selectable_speed_limit not written").size(), 1);
    ConfigStore::setPath(dir.filePath("orvane.ini"));
    EXPECT_EQ(ConfigIntValue("gui/min_selectable_speed_limit", 85).value(), 60);
}

TEST_F(ConfigValueTest, ReadersOnOtherThreadsSeeWholeValuesWhileItIsWritten)
{
    ConfigStore::write("chromium/debug", "true");
    std::atomic<bool> done{false};
    std::atomic<int> torn{0};
    std::vector<std::thread> readers;
    for (int t = 0; t < 2; ++t) {
        readers.emplace_back([&] {
            ConfigIntValue limit("gui/min_selectable_speed_limit", 85);
            while (!done) {
                const int v = limit.value();
                if (v != 85 && (v < 100 || v >= 200))
                    ++torn;
                if (!ConfigBoolValue("chromium/debug", false).value())
                    ++torn;
            }
        });
    }
    for (int i = 100; i < 200; ++i)
        ASSERT_TRUE(ConfigStore::write("gui/min_selectable_speed_limit", i));
    done = true;
    for (auto& reader : readers)
        reader.join();
    EXPECT_EQ(torn, 0);
    EXPECT_EQ(ConfigIntValue("gui/min_selectable_speed_limit", 85).value(), 199);
}
