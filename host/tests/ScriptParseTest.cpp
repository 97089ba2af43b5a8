#include "ScriptParser.h"

#include <gtest/gtest.h>

namespace {

QString parseError(const QString& text)
{
    QVector<ScriptCommand> commands;
    QString error;
    EXPECT_FALSE(parseScript(text, "s.txt", &commands, &error));
    return error;
}

QVector<ScriptCommand> parsed(const QString& text)
{
    QVector<ScriptCommand> commands;
    QString error;
    EXPECT_TRUE(parseScript(text, "s.txt", &commands, &error)) << error.toStdString();
    return commands;
}

} // namespace

TEST(ScriptParse, ReadsCommandsWithQuotesAndComments)
{
    const QVector<ScriptCommand> commands = parsed("# start\n\nset GUI_developerMode true\n  tap \"EXIT DEVELOPER MODE AND RESTART\"\n"
                                                   "tap 10 20\nconfig \"chromium/render_process_max retry\" 3\nwait 100\nquit\n");
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
    // What a user typed is cut in messages, however long the line.
    EXPECT_EQ(parseError("tap \"" + QString(100000, 'x') + "\" 0\n"),
              "s.txt:1: 'tap' wants a label and a count from 1, found '" + QString(80, 'x') + "... (100002 characters)'");
    EXPECT_EQ(parseError("wait soon\n"), "s.txt:1: 'wait' wants whole non-negative numbers, found 'soon'");
    EXPECT_EQ(parseError("wait -5\n"), "s.txt:1: 'wait' wants whole non-negative numbers, found '-5'");
    EXPECT_EQ(parseError("tap 10 y\n"), "s.txt:1: 'tap' wants whole non-negative numbers, found '10 y'");
    EXPECT_EQ(parseError("set GUI_warpDrive true\n"), "s.txt:1: unknown data value 'GUI_warpDrive'");
    EXPECT_EQ(parseError("tap \"EXIT\n"), "s.txt:1: unbalanced quote");
}

TEST(ScriptParse, TouchAndExpectationCommandsCheckTheirArguments)
{
    const QVector<ScriptCommand> commands = parsed("tap \"IN\\nSERVICE\" 2\ndrag 10 20 300 20\ndrag \"OFF\" -40 0\nchoose \"85\"\n"
                                                   "answer \"YES\"\nexpect-value GUI_developerMode false\nexpect-value VAPI_gear invalid\n"
                                                   "expect-pending GUI_serviceMode none\nexpect-log \"INFO user changed\"\n"
                                                   "expect-enabled \"SLEEP\"\nexpect-disabled \"SLEEP\"\n");
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
    EXPECT_EQ(parseError("wait-for-pending GUI_warpDrive none\n"), "s.txt:1: unknown data value 'GUI_warpDrive'");
    EXPECT_EQ(parseError("wait-for-value VAPI_gear fast\n"), "s.txt:1: 'fast' is not an int value for VAPI_gear: expected a whole number (decimal, or hex with 0x)");
    EXPECT_EQ(parseError("wait-for-value VAPI_gear none\n"), "s.txt:1: 'none' is not an int value for VAPI_gear: expected a whole number (decimal, or hex with 0x)");
    EXPECT_EQ(parseError("wait-for-value VAPI_gear\n"), "s.txt:1: 'wait-for-value' takes 2 argument(s), found 1");
}

TEST(ScriptParse, TouchesTakeTimeAndOneFingerIsDownAtATime)
{
    const QVector<ScriptCommand> commands = parsed("tap 10 20\ntap \"SLEEP\" hold 1000\ntap \"SLEEP\" 2 hold 0\ndrag 1 2 3 4 over 500\n"
                                                   "press \"SLEEP\"\nwait 250\nset VAPI_gear 3\nmove 40 50\nrelease\npress 5 6\nrelease\n"
                                                   "tap \"FACTORY MODE\" \"TRANSPORT\"\nchoose \"POWER LIMIT (kW)\" \"120\"\n"
                                                   "config chromium/user_agent \"\"\nset VAPI_gear invalid\n");
    ASSERT_EQ(commands.size(), 15);
    EXPECT_EQ(commands[0].durationMs, DefaultTapHoldMs);
    EXPECT_EQ(commands[1].durationMs, 1000);
    EXPECT_EQ(commands[1].args, QStringList{"SLEEP"});
    EXPECT_EQ(commands[2].durationMs, 0);
    EXPECT_EQ(commands[2].args, QStringList({"SLEEP", "2"}));
    EXPECT_EQ(commands[3].durationMs, 500);
    EXPECT_EQ(commands[3].args.size(), 4);
    EXPECT_EQ(commands[11].args, QStringList({"FACTORY MODE", "TRANSPORT"}));
    EXPECT_EQ(commands[13].args, QStringList({"chromium/user_agent", ""}));

    EXPECT_EQ(parseError("press 1 2\ntap 3 4\nrelease\n"),
              "s.txt:2: 'tap' while the finger pressed on line 1 is still down: 'release' first");
    EXPECT_EQ(parseError("press 1 2\npress 3 4\n"),
              "s.txt:2: 'press' while the finger pressed on line 1 is still down: 'release' first");
    EXPECT_EQ(parseError("wait 5\nmove 1 2\n"), "s.txt:2: 'move' with no finger down: 'press' first");
    EXPECT_EQ(parseError("release\n"), "s.txt:1: 'release' with no finger down: 'press' first");
    EXPECT_EQ(parseError("press \"SLEEP\"\nwait 10\n"), "s.txt:1: the finger pressed here is never released");
    EXPECT_EQ(parseError("tap 1 2 hold soon\n"), "s.txt:1: 'hold MS' wants milliseconds from 0 to 60000, found 'soon'");
    EXPECT_EQ(parseError("drag 1 2 3 4 over 99999999\n"),
              "s.txt:1: 'over MS' wants milliseconds from 0 to 60000, found '99999999'");
    EXPECT_EQ(parseError("press \"SLEEP\" first\n"), "s.txt:1: 'press' wants a label and a count from 1, found 'SLEEP first'");
    EXPECT_EQ(parseError("move 1\n"), "s.txt:1: 'move' takes 2 argument(s), found 1");
}
