#include "ScriptRunner.h"

#include <gtest/gtest.h>

namespace {

QString parseError(const QString& text)
{
    QVector<ScriptRunner::Command> commands;
    QString error;
    EXPECT_FALSE(ScriptRunner::parse(text, "s.txt", &commands, &error));
    return error;
}

} // namespace

TEST(ScriptParse, ReadsCommandsWithQuotesAndComments)
{
    QVector<ScriptRunner::Command> commands;
    QString error;
    ASSERT_TRUE(ScriptRunner::parse("# start\n\nset GUI_developerMode true\n  tap \"EXIT DEVELOPER MODE AND RESTART\"\n"
                                    "tap 10 20\nconfig \"chromium/render_process_max retry\" 3\nwait 100\nquit\n",
                                    "s.txt", &commands, &error))
        << error.toStdString();
    ASSERT_EQ(commands.size(), 6);
    EXPECT_EQ(commands[0].line, 3);
    EXPECT_EQ(commands[1].args, QStringList{"EXIT DEVELOPER MODE AND RESTART"});
    EXPECT_EQ(commands[2].args, QStringList({"10", "20"}));
    EXPECT_EQ(commands[3].args, QStringList({"chromium/render_process_max retry", "3"}));
    EXPECT_EQ(commands[5].name, "quit");
}

TEST(ScriptParse, BadLinesNameTheirLineAndReason)
{
    EXPECT_EQ(parseError("wait 1\ntapp 1 2\n"), "s.txt:2: unknown command 'tapp'");
    EXPECT_EQ(parseError("set GUI_developerMode\n"), "s.txt:1: 'set' takes 2 argument(s), found 1");
    EXPECT_EQ(parseError("\n\ntap 1 2 3\n"), "s.txt:3: 'tap' takes 1 or 2 argument(s), found 3");
    EXPECT_EQ(parseError("wait soon\n"), "s.txt:1: 'wait' wants whole non-negative numbers, found 'soon'");
    EXPECT_EQ(parseError("wait -5\n"), "s.txt:1: 'wait' wants whole non-negative numbers, found '-5'");
    EXPECT_EQ(parseError("tap 10 y\n"), "s.txt:1: 'tap' wants whole non-negative numbers, found '10 y'");
    EXPECT_EQ(parseError("set GUI_warpDrive true\n"), "s.txt:1: unknown data value 'GUI_warpDrive'");
    EXPECT_EQ(parseError("tap \"EXIT\n"), "s.txt:1: unbalanced quote");
}
