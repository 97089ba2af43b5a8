#include "ScriptParser.h"

#include "core/DataValue.h"

#include <QHash>

#include <algorithm>
#include <optional>
#include <utility>

namespace {

struct Syntax {
    Syntax(QVector<int> arities, QString timing = QString(), int defaultMs = 0)
        : arities(std::move(arities))
        , timing(std::move(timing))
        , defaultMs(defaultMs)
    {
    }
    QVector<int> arities;
    // The trailing "WORD MS" a command may end with: "hold" for taps, "over" for drags.
    QString timing;
    int defaultMs;
};

const QHash<QString, Syntax>& syntaxes()
{
    static const QHash<QString, Syntax> table{
        {"set", {{2}}}, {"config", {{2}}},
        {"tap", {{1, 2}, "hold", DefaultTapHoldMs}}, {"press", {{1, 2}}}, {"move", {{2}}}, {"release", {{0}}},
        {"drag", {{3, 4}, "over", DefaultDragMs}}, {"choose", {{1, 2}}}, {"answer", {{1}}},
        {"type", {{1}}}, {"keys", {{1}}}, {"wait-for", {{1}}}, {"pause", {{1}}}, {"wait-for-no", {{1}}},
        {"wait", {{1}}}, {"dump", {{1}}}, {"screenshot", {{1}}},
        {"expect-journal", {{1}}}, {"expect-log", {{1}}}, {"expect-value", {{2}}}, {"expect-pending", {{2}}},
        {"expect-view", {{1}}}, {"expect-no-view", {{1}}}, {"expect-enabled", {{1}}}, {"expect-disabled", {{1}}},
        {"wait-for-enabled", {{1}}}, {"wait-for-value", {{2}}}, {"wait-for-pending", {{2}}}, {"quit", {{0}}},
    };
    return table;
}

// A touch lasting longer than this is a mistake in the script, not a gesture.
constexpr int LongestTouchMs = 60000;

// Words separated by blanks; double quotes keep blanks inside one word, and "" is an empty word.
std::optional<QStringList> splitWords(const QString& line)
{
    QStringList words;
    QString word;
    bool inWord = false;
    bool inQuotes = false;
    for (const QChar c : line) {
        if (c == QLatin1Char('"')) {
            inQuotes = !inQuotes;
            inWord = true;
        } else if (c.isSpace() && !inQuotes) {
            if (inWord)
                words << word;
            word.clear();
            inWord = false;
        } else {
            word += c;
            inWord = true;
        }
    }
    if (inQuotes)
        return std::nullopt;
    if (inWord)
        words << word;
    return words;
}

// Checks the numbers of one command; an empty text when they are fine.
QString numberProblem(const ScriptCommand& c)
{
    const QStringList& a = c.args;
    const auto wants = [&](const QString& what) {
        return QStringLiteral("'%1' wants %2, found '%3'").arg(c.name, what, quoted(a.join(QLatin1Char(' '))));
    };
    const bool touchesAt = c.name == QLatin1String("tap") || c.name == QLatin1String("press");
    if (c.name == QLatin1String("wait") && !isWholeNumber(a[0], false))
        return wants(QStringLiteral("whole non-negative numbers"));
    if (touchesAt && a.size() == 2 && isWholeNumber(a[0], true) && !(isWholeNumber(a[0], false) && isWholeNumber(a[1], false)))
        return wants(QStringLiteral("whole non-negative numbers"));
    if (touchesAt && a.size() == 2 && !isWholeNumber(a[0], true) && isWholeNumber(a[1], true) && a[1].toInt() < 1)
        return wants(QStringLiteral("a label and a count from 1"));
    if (c.name == QLatin1String("press") && a.size() == 2 && !isWholeNumber(a[0], true) && !isWholeNumber(a[1], true))
        return wants(QStringLiteral("a label and a count from 1"));
    if (c.name == QLatin1String("move") && !(isWholeNumber(a[0], false) && isWholeNumber(a[1], false)))
        return wants(QStringLiteral("whole non-negative numbers"));
    if (c.name == QLatin1String("drag")) {
        if (a.size() == 4 && !std::all_of(a.begin(), a.end(), [](const QString& n) { return isWholeNumber(n, false); }))
            return wants(QStringLiteral("X1 Y1 X2 Y2 as whole non-negative numbers"));
        if (a.size() == 3 && !(isWholeNumber(a[1], true) && isWholeNumber(a[2], true)))
            return wants(QStringLiteral("a label and a whole DX DY"));
    }
    return QString();
}

// A value the data value cannot take is bad input, as it is for --set.
QString valueProblem(const ScriptCommand& c)
{
    DataValue* value = DataValueRegistry::find(c.args[0]);
    if (!value)
        return QStringLiteral("unknown data value '%1'").arg(quoted(c.args[0]));
    const QString& text = c.args[1];
    if (text == QLatin1String("invalid") || (c.name.endsWith(QLatin1String("-pending")) && text == QLatin1String("none")))
        return QString();
    QVariant parsed;
    QString reason;
    return value->parseString(text, &parsed, &reason) ? QString() : reason;
}

// Takes the trailing "hold MS" / "over MS" off the arguments.
QString takeTiming(ScriptCommand* c, const Syntax& syntax)
{
    c->durationMs = syntax.defaultMs;
    const int n = c->args.size();
    if (syntax.timing.isEmpty() || n < 2 || c->args[n - 2] != syntax.timing)
        return QString();
    const QString ms = c->args[n - 1];
    if (!isWholeNumber(ms, false) || ms.toInt() > LongestTouchMs)
        return QStringLiteral("'%1 MS' wants milliseconds from 0 to %2, found '%3'")
            .arg(syntax.timing)
            .arg(LongestTouchMs)
            .arg(quoted(ms));
    c->durationMs = ms.toInt();
    c->args = c->args.mid(0, n - 2);
    return QString();
}

} // namespace

bool isWholeNumber(const QString& text, bool allowNegative)
{
    bool ok = false;
    const int n = text.toInt(&ok);
    return ok && (allowNegative || n >= 0);
}

QString quoted(const QString& text)
{
    constexpr int Longest = 80;
    return text.size() <= Longest ? text : text.left(Longest) + QStringLiteral("... (%1 characters)").arg(text.size());
}

QString labelArgument(const QString& text)
{
    QString out;
    for (int i = 0; i < text.size(); ++i) {
        if (text[i] == QLatin1Char('\\') && i + 1 < text.size() && text[i + 1] == QLatin1Char('n')) {
            out += QLatin1Char('\n');
            ++i;
        } else {
            out += text[i];
        }
    }
    return out;
}

bool isExpectation(const ScriptCommand& command)
{
    return command.name.startsWith(QLatin1String("expect-")) || command.name.startsWith(QLatin1String("wait-for"));
}

bool parseScript(const QString& text, const QString& fileName, QVector<ScriptCommand>* commands, QString* error)
{
    const QStringList lines = text.split(QLatin1Char('\n'));
    // Where the finger went down, while it is down: one finger, as on the car's screen.
    int fingerDownAt = 0;
    for (int i = 0; i < lines.size(); ++i) {
        const QString line = lines[i].trimmed();
        if (line.isEmpty() || line.startsWith(QLatin1Char('#')))
            continue;
        const auto fail = [&](const QString& reason) {
            *error = QStringLiteral("%1:%2: %3").arg(fileName).arg(i + 1).arg(reason);
            return false;
        };
        const std::optional<QStringList> words = splitWords(line);
        if (!words)
            return fail(QStringLiteral("unbalanced quote"));
        ScriptCommand command{i + 1, words->first(), words->mid(1)};
        const auto syntax = syntaxes().constFind(command.name);
        if (syntax == syntaxes().constEnd())
            return fail(QStringLiteral("unknown command '%1'").arg(quoted(command.name)));
        QString problem = takeTiming(&command, *syntax);
        if (!problem.isEmpty())
            return fail(problem);
        const int n = command.args.size();
        if (!syntax->arities.contains(n)) {
            QStringList counts;
            for (int count : syntax->arities)
                counts << QString::number(count);
            return fail(QStringLiteral("'%1' takes %2 argument(s), found %3")
                            .arg(command.name, counts.join(QStringLiteral(" or ")))
                            .arg(n));
        }
        problem = numberProblem(command);
        if (problem.isEmpty() && n == 2
            && (command.name == QLatin1String("set") || command.name.startsWith(QLatin1String("expect-"))
                || command.name.startsWith(QLatin1String("wait-for-"))))
            problem = valueProblem(command);
        if (!problem.isEmpty())
            return fail(problem);

        const bool lifts = command.name == QLatin1String("release");
        const bool keepsDown = command.name == QLatin1String("move") || lifts;
        const bool touches = command.name == QLatin1String("press") || command.name == QLatin1String("tap")
            || command.name == QLatin1String("drag") || command.name == QLatin1String("choose")
            || command.name == QLatin1String("answer") || command.name == QLatin1String("keys");
        if (keepsDown && !fingerDownAt)
            return fail(QStringLiteral("'%1' with no finger down: 'press' first").arg(command.name));
        if (touches && fingerDownAt)
            return fail(QStringLiteral("'%1' while the finger pressed on line %2 is still down: 'release' first")
                            .arg(command.name)
                            .arg(fingerDownAt));
        if (command.name == QLatin1String("press"))
            fingerDownAt = command.line;
        if (lifts)
            fingerDownAt = 0;
        commands->append(command);
    }
    if (fingerDownAt) {
        *error = QStringLiteral("%1:%2: the finger pressed here is never released").arg(fileName).arg(fingerDownAt);
        return false;
    }
    return true;
}

QString scriptCommandHelp()
{
    return QStringLiteral(
        "Script commands, one per line ('#' starts a comment; quote arguments with blanks, \"\" is an\n"
        "empty one; a label with a line break is written \"IN\\nSERVICE\"; \"~TEXT\" matches any label or\n"
        "title containing TEXT, line breaks read as blanks, in any case):\n"
        "  set NAME VALUE            set a data value; VALUE 'invalid' makes it invalid\n"
        "  config KEY VALUE          write a configuration value into the store\n"
        "  tap X Y [hold MS]         tap a point of the display: press, hold MS (default 80) with the\n"
        "                            UI running, release\n"
        "  tap \"LABEL\" [N] [hold MS] tap the shown view with that label or title (the topmost,\n"
        "                            or the N-th from 1 in paint order)\n"
        "  tap \"CONTROL\" \"POSITION\"  tap a position of a slide switch named by its row's label or its\n"
        "                            own, as it reads (\"Factory Mode\" \"TRANSPORT\")\n"
        "  press X Y | press \"LABEL\" [N]\n"
        "                            put a finger down and keep it there while later commands run\n"
        "  move X Y                  move the finger that is down\n"
        "  release                   lift the finger\n"
        "  drag X1 Y1 X2 Y2 [over MS]\n"
        "                            drag a finger from one point to another, a move every 16 ms\n"
        "                            over MS (default 300)\n"
        "  drag \"LABEL\" DX DY [over MS]\n"
        "                            drag from the middle of a view by DX, DY (may be negative)\n"
        "  choose \"ROW\"              tap a row of the open picker list, scrolled into sight\n"
        "  choose \"PICKER\" \"ROW\"     open the picker named by its row's label, and tap that row\n"
        "  answer \"BUTTON\"           press a button of the topmost popup\n"
        "  type \"TEXT\"               type text into the view that has key focus\n"
        "  keys \"TEXT\"               type text by tapping the on-screen keyboard's keys\n"
        "  wait-for \"LABEL\"          wait (up to 20 s) until a view with that label or title shows;\n"
        "                            a web view's title is its page's\n"
        "  wait-for-no \"LABEL\"       wait (up to 20 s) until no view with that label or title shows\n"
        "  wait MS                   let the app run for MS milliseconds\n"
        "  pause \"TEXT\"              print TEXT and stop until Enter (or the end of the input)\n"
        "  dump FILE                 write the view tree (and the overlay) and the data values as JSON\n"
        "  screenshot FILE           write a PNG of the display\n"
        "  expect-journal \"LINE\"     fail unless the platform journal has that line (waits up to 5 s\n"
        "                            for host commands to report)\n"
        "  expect-log \"TEXT\"         fail unless a line logged so far contains TEXT (\"INFO message\")\n"
        "  expect-value NAME VALUE   fail unless the data value is VALUE (or 'invalid')\n"
        "  expect-pending NAME VALUE fail unless the pending request is VALUE (or 'none')\n"
        "  expect-view \"LABEL\"       fail unless a shown view has that label or title\n"
        "  expect-no-view \"LABEL\"    fail if a shown view has that label or title\n"
        "  expect-enabled \"LABEL\"    fail unless that view (the topmost) takes touches\n"
        "  expect-disabled \"LABEL\"   fail unless that view (the topmost) is disabled\n"
        "  wait-for-enabled \"LABEL\"  wait (up to 20 s) until that view (the topmost) takes touches\n"
        "  wait-for-value NAME VALUE wait (up to 20 s) until the data value is VALUE (or 'invalid')\n"
        "  wait-for-pending NAME VALUE  wait (up to 20 s) until the pending request is VALUE (or 'none')\n"
        "  quit                      stop here\n"
        "A script stops at its first failure; with --keep-going, failed expect-... and wait-for...\n"
        "lines are reported and the script goes on.\n");
}
