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

TEST(ScriptParse, TouchAndExpectationCommandsCheckTheirArguments)
{
    QVector<ScriptRunner::Command> commands;
    QString error;
    ASSERT_TRUE(ScriptRunner::parse("tap \"IN\\nSERVICE\" 2\ndrag 10 20 300 20\ndrag \"OFF\" -40 0\nchoose \"85\"\n"
                                    "answer \"YES\"\nexpect-value GUI_developerMode false\nexpect-value VAPI_gear invalid\n"
                                    "expect-pending GUI_serviceMode none\nexpect-log \"INFO user changed\"\n"
                                    "expect-enabled \"SLEEP\"\nexpect-disabled \"SLEEP\"\n",
                                    "s.txt", &commands, &error))
        << error.toStdString();
    EXPECT_EQ(commands.size(), 11);
    EXPECT_EQ(parseError("tap -5 10\n"), "s.txt:1: 'tap' wants whole non-negative numbers, found '-5 10'");
    EXPECT_EQ(parseError("tap \"SLEEP\" 0\n"), "s.txt:1: 'tap' wants a label and a count from 1, found 'SLEEP 0'");
    EXPECT_EQ(parseError("drag 1 2 3 -4\n"), "s.txt:1: 'drag' wants X1 Y1 X2 Y2 as whole non-negative numbers, found '1 2 3 -4'");
    EXPECT_EQ(parseError("drag \"OFF\" far 0\n"), "s.txt:1: 'drag' wants a label and a whole DX DY, found 'OFF far 0'");
    EXPECT_EQ(parseError("drag 1 2\n"), "s.txt:1: 'drag' takes 3 or 4 argument(s), found 2");
    // A value the data value cannot take is caught before anything runs.
    EXPECT_TRUE(parseError("wait 1\nset GUI_developerMode sometimes\n")
                    .startsWith("s.txt:2: 'sometimes' is not a bool value for GUI_developerMode"));
    EXPECT_EQ(parseError("expect-value VAPI_gear fast\n"), "s.txt:1: 'fast' is not an int value for VAPI_gear: expected a whole number (decimal, or hex with 0x)");
    EXPECT_EQ(parseError("expect-pending GUI_warpDrive none\n"), "s.txt:1: unknown data value 'GUI_warpDrive'");
}
