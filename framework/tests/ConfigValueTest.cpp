#include "core/ConfigValue.h"

#include <QFile>
#include <QTemporaryDir>
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
