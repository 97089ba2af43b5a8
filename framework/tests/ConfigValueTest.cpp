#include "core/ConfigValue.h"

#include <QDir>
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

TEST_F(ConfigValueTest, DefaultsWhenStoreKeyOrReadableValueIsMissing)
{
    ConfigIntValue retries("chromium/render_process_max retry", 5);
    ConfigStringValue agent("chromium/user_agent", "Agent/1.0");
    ConfigRealValue scale("chromium/scroll_scale", 10.0);
    EXPECT_EQ(retries.value(), 5); // no file at all
    writeStore("[gui]\nother=1\n");
    EXPECT_EQ(retries.value(), 5);
    EXPECT_EQ(agent.value(), "Agent/1.0");
    EXPECT_DOUBLE_EQ(scale.value(), 10.0);
    writeStore("chromium/render_process_max retry=fast\nchromium/debug=perhaps\n");
    EXPECT_EQ(retries.value(), 5);
    EXPECT_TRUE(ConfigBoolValue("chromium/debug", true).value());
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

TEST_F(ConfigValueTest, CheckNamesTheFirstMalformedLine)
{
    QString error;
    writeStore("[chromium]\ndebug=true\nthis line has no equals sign\n");
    EXPECT_FALSE(ConfigStore::check(ConfigStore::path(), &error));
    EXPECT_TRUE(error.endsWith(":3: expected [section], key=value or a comment, found 'this line has no equals sign'"))
        << error.toStdString();
    // The line costs its own value only: every readable one stays readable.
    CapturingLogSink log;
    EXPECT_TRUE(ConfigBoolValue("chromium/debug", false).value());
    EXPECT_EQ(log.lines().filter("WARN Configuration:").filter(":3: expected").size(), 1);

    EXPECT_FALSE(ConfigStore::check(dir.filePath("missing.ini"), &error));
    EXPECT_TRUE(error.startsWith("cannot read configuration file")) << error.toStdString();
}

// Lines the store adds end as the file's own lines do.
TEST_F(ConfigValueTest, WritesToAFileOfLineFeedsAddLineFeeds)
{
    writeStore("[chromium]\ndebug=true\n");
    ASSERT_TRUE(ConfigStore::write("chromium/debug", "false"));
    ASSERT_TRUE(ConfigStore::write("diag/vitals_url", "http://x/"));
    QFile file(ConfigStore::path());
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(file.readAll(), "[chromium]\ndebug=false\n[General]\ndiag/vitals_url=http://x/\n");
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

TEST_F(ConfigValueTest, AWriteKeepsTheBytesOfEveryLineItDoesNotOwn)
{
    // A Latin-1 comment, a line that is no setting, CRLF endings and no newline at the end.
    const QByteArray latin1Comment = "# Gr\xfc\xdf" "e aus dem Werk\r\n";
    writeStore(latin1Comment + "[chromium]\r\ndebug = true\r\n\xff\xfe binary junk\r\nuser_agent=Agent/1.0");
    ASSERT_TRUE(ConfigStore::write("chromium/debug", false));
    ASSERT_TRUE(ConfigStore::write("diag/vitals_url", "http://x/"));
    QFile file(ConfigStore::path());
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(file.readAll(), latin1Comment + "[chromium]\r\ndebug=false\r\n\xff\xfe binary junk\r\nuser_agent=Agent/1.0\r\n"
                                              "[General]\r\ndiag/vitals_url=http://x/\r\n");
    EXPECT_EQ(ConfigStringValue("chromium/user_agent", "").value(), "Agent/1.0");
    EXPECT_FALSE(ConfigBoolValue("chromium/debug", true).value());
}

TEST_F(ConfigValueTest, EveryValueReadsBackAsWritten)
{
    const QStringList values{"two\nlines",           "carriage\r\nreturn",   "\"quoted\"",
                             "say \"hi\"",           "a;b; c",               "x=y=z",
                             "# not a comment",      "; nor this",           "  blanks around  ",
                             "C:\\new\\raw",         "\"C:\\new\"",          "back\\slash at end\\",
                             "Mozilla/5.0 (X11; Linux x86_64)", "",       "\"",
                             "Grüße"};
    for (int i = 0; i < values.size(); ++i)
        ASSERT_TRUE(ConfigStore::write(QStringLiteral("test/value %1").arg(i), values[i]));
    ConfigStore::setPath(ConfigStore::path()); // read from the file, not what was written
    for (int i = 0; i < values.size(); ++i)
        EXPECT_EQ(ConfigStore::read(QStringLiteral("test/value %1").arg(i)).toString(), values[i]) << i;
    QString error;
    EXPECT_TRUE(ConfigStore::check(ConfigStore::path(), &error)) << error.toStdString();
    // Hand-written quoted values read as they always did.
    writeStore("path=\"C:\\temp\\x\"\n");
    EXPECT_EQ(ConfigStringValue("path", "").value(), "C:\\temp\\x");
}

TEST_F(ConfigValueTest, WhatAnInterruptedSaveLeftIsRemovedWhenTheStoreIsOpened)
{
    writeStore("gui/min_selectable_speed_limit=60\n");
    for (const char* name : {"orvane.ini.saving-Qx81Zz", "orvane.ini.backup", "orvane.ini.bak"}) {
        QFile file(dir.filePath(name));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    }
    CapturingLogSink log;
    ConfigStore::setPath(dir.filePath("orvane.ini"));
    EXPECT_FALSE(QFile::exists(dir.filePath("orvane.ini.saving-Qx81Zz")));
    EXPECT_TRUE(QFile::exists(dir.filePath("orvane.ini.backup")));
    EXPECT_TRUE(QFile::exists(dir.filePath("orvane.ini.bak")));
    EXPECT_EQ(log.lines().filter("left by an interrupted save").size(), 1);
    EXPECT_EQ(ConfigIntValue("gui/min_selectable_speed_limit", 85).value(), 60);
}

TEST_F(ConfigValueTest, AWriteLeavesOnlyTheStoreWithItsPermissions)
{
    writeStore("a=1\n");
    ASSERT_TRUE(QFile::setPermissions(ConfigStore::path(), QFile::ReadOwner | QFile::WriteOwner));
    ASSERT_TRUE(ConfigStore::write("b", 2));
    // (leaving out the bits for the user running the test, which mirror the owner's)
    EXPECT_EQ(QFile::permissions(ConfigStore::path()) & 0x7077, QFile::ReadOwner | QFile::WriteOwner);
    EXPECT_EQ(QDir(dir.path()).entryList(QDir::Files), QStringList({"orvane.ini"}));
}
