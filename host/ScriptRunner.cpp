#include "ScriptRunner.h"

#include "BenchHost.h"
#include "core/ConfigValue.h"
#include "core/DataValue.h"
#include "core/Logger.h"
#include "display/DisplayDevice.h"
#include "services/CenterDisplay.h"
#include "services/PlatformJournal.h"
#include "views/ButtonView.h"
#include "views/DisplayView.h"
#include "views/keyboard/KeyMap.h"
#include "views/keyboard/KeyboardView.h"
#include "views/popup/PopupView.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QHash>
#include <QProcess>
#include <QSocketNotifier>
#include <QTimer>

#include <algorithm>
#include <cstdio>
#include <unistd.h>

namespace {

// Command name -> the argument counts it takes.
const QHash<QString, QVector<int>>& commandArity()
{
    static const QHash<QString, QVector<int>> arity{
        {"set", {2}}, {"config", {2}}, {"tap", {1, 2}}, {"drag", {3, 4}}, {"choose", {1}}, {"answer", {1}},
        {"type", {1}}, {"keys", {1}}, {"wait-for", {1}}, {"pause", {1}}, {"wait-for-no", {1}}, {"wait", {1}}, {"dump", {1}}, {"screenshot", {1}},
        {"expect-journal", {1}}, {"expect-log", {1}}, {"expect-value", {2}}, {"expect-pending", {2}},
        {"expect-view", {1}}, {"expect-no-view", {1}}, {"expect-enabled", {1}}, {"expect-disabled", {1}}, {"wait-for-enabled", {1}}, {"quit", {0}},
    };
    return arity;
}

// How long expect-journal waits for a record that has not come yet.
constexpr int JournalPatienceMs = 5000;
// How long wait-for waits for a view: pages load from a browser that may be starting.
constexpr int ViewPatienceMs = 20000;

bool isNumber(const QString& text, bool allowNegative)
{
    bool ok = false;
    const int n = text.toInt(&ok);
    return ok && (allowNegative || n >= 0);
}

// Labels are written on one line: "IN\nSERVICE" names a two-line label.
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

// Checks the numbers of one command; an empty text when they are fine.
QString numberProblem(const ScriptRunner::Command& c)
{
    const QStringList& a = c.args;
    const auto wants = [&](const QString& what) {
        return QStringLiteral("'%1' wants %2, found '%3'").arg(c.name, what, a.join(QLatin1Char(' ')));
    };
    if (c.name == QLatin1String("wait") && !isNumber(a[0], false))
        return wants(QStringLiteral("whole non-negative numbers"));
    if (c.name == QLatin1String("tap")) {
        if (a.size() == 2 && isNumber(a[0], true) && !(isNumber(a[0], false) && isNumber(a[1], false)))
            return wants(QStringLiteral("whole non-negative numbers"));
        if (a.size() == 2 && !isNumber(a[0], true) && !(isNumber(a[1], false) && a[1].toInt() >= 1))
            return wants(QStringLiteral("a label and a count from 1"));
    }
    if (c.name == QLatin1String("drag")) {
        if (a.size() == 4 && !std::all_of(a.begin(), a.end(), [](const QString& n) { return isNumber(n, false); }))
            return wants(QStringLiteral("X1 Y1 X2 Y2 as whole non-negative numbers"));
        if (a.size() == 3 && !(isNumber(a[1], true) && isNumber(a[2], true)))
            return wants(QStringLiteral("a label and a whole DX DY"));
    }
    return QString();
}

} // namespace

ScriptRunner::ScriptRunner(BenchHost* host, const QString& path)
    : mHost(host)
    , mPath(path)
    , mLog(std::make_unique<CapturingLogSink>())
{
}

ScriptRunner::~ScriptRunner() = default;

bool ScriptRunner::load(QString* error)
{
    QFile file(mPath);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text)) {
        *error = QStringLiteral("cannot read script %1: %2").arg(mPath, file.errorString());
        return false;
    }
    return parse(QString::fromUtf8(file.readAll()), mPath, &mCommands, error);
}

bool ScriptRunner::parse(const QString& text, const QString& fileName, QVector<Command>* commands, QString* error)
{
    const QStringList lines = text.split(QLatin1Char('\n'));
    for (int i = 0; i < lines.size(); ++i) {
        const QString line = lines[i].trimmed();
        if (line.isEmpty() || line.startsWith(QLatin1Char('#')))
            continue;
        const auto where = [&](const QString& reason) { return QStringLiteral("%1:%2: %3").arg(fileName).arg(i + 1).arg(reason); };
        if (line.count(QLatin1Char('"')) % 2 != 0) {
            *error = where(QStringLiteral("unbalanced quote"));
            return false;
        }
        QStringList words = QProcess::splitCommand(line);
        Command command{i + 1, words.takeFirst(), words};
        const auto arity = commandArity().constFind(command.name);
        if (arity == commandArity().constEnd()) {
            *error = where(QStringLiteral("unknown command '%1'").arg(command.name));
            return false;
        }
        const int n = command.args.size();
        if (!arity->contains(n)) {
            QStringList counts;
            for (int count : *arity)
                counts << QString::number(count);
            *error = where(QStringLiteral("'%1' takes %2 argument(s), found %3").arg(command.name, counts.join(QStringLiteral(" or "))).arg(n));
            return false;
        }
        const QString problem = numberProblem(command);
        if (!problem.isEmpty()) {
            *error = where(problem);
            return false;
        }
        const bool namesValue = command.name == QLatin1String("set") || command.name == QLatin1String("expect-value")
            || command.name == QLatin1String("expect-pending");
        if (namesValue) {
            DataValue* value = DataValueRegistry::find(command.args[0]);
            if (!value) {
                *error = where(QStringLiteral("unknown data value '%1'").arg(command.args[0]));
                return false;
            }
            // A value the data value cannot take is bad input, as it is for --set.
            QVariant parsed;
            QString reason;
            const QString& text = command.args[1];
            const bool special = command.name != QLatin1String("set")
                && (text == QLatin1String("invalid") || text == QLatin1String("none"));
            if (!special && !value->parseString(text, &parsed, &reason)) {
                *error = where(reason);
                return false;
            }
        }
        commands->append(command);
    }
    return true;
}

void ScriptRunner::run()
{
    mNext = 0;
    // Start from a settled app, as a person would.
    mHost->settle([this] { step(); });
}

void ScriptRunner::step()
{
    if (mNext >= mCommands.size()) {
        emit finished(0);
        return;
    }
    const Command command = mCommands[mNext++];
    if (command.name == QLatin1String("quit")) {
        emit finished(0);
        return;
    }
    if (command.name == QLatin1String("pause")) {
        pause(command.args[0]);
        return;
    }
    int waitMs = 0;
    if (!execute(command, &waitMs)) {
        emit finished(1);
        return;
    }
    if (waitMs > 0)
        QTimer::singleShot(waitMs, this, [this] { mHost->settle([this] { step(); }); });
    else
        mHost->settle([this] { step(); });
}

void ScriptRunner::pause(const QString& text)
{
    std::printf("Paused: %s - press Enter to go on\n", qPrintable(text));
    std::fflush(stdout);
    // Whatever ends the line or the input goes on, so a script run without a terminal never sticks.
    auto* input = new QSocketNotifier(STDIN_FILENO, QSocketNotifier::Read, this);
    connect(input, &QSocketNotifier::activated, this, [this, input] {
        char c = 0;
        while (::read(STDIN_FILENO, &c, 1) == 1 && c != '\n') {
        }
        input->deleteLater();
        mHost->settle([this] { step(); });
    });
}

void ScriptRunner::fail(const Command& command, const QString& reason)
{
    Logger(nullptr, "ERROR") << QStringLiteral("%1:%2:").arg(mPath).arg(command.line) << reason;
}

DisplayView* ScriptRunner::viewToTouch(const Command& c, const QString& label, int nth, bool overlayOnly)
{
    const QList<DisplayView*> views = mHost->findShownViews(label, overlayOnly);
    if (views.isEmpty()) {
        fail(c, QStringLiteral("no shown view labelled '%1' to %2").arg(label, c.name));
        return nullptr;
    }
    if (nth > views.size()) {
        fail(c, QStringLiteral("only %1 shown view(s) labelled '%2', not %3").arg(views.size()).arg(label).arg(nth));
        return nullptr;
    }
    // The topmost one unless the script counts them.
    DisplayView* view = nth > 0 ? views[nth - 1] : views.last();
    if (!view->isEffectivelyEnabled()) {
        fail(c, QStringLiteral("the view labelled '%1' is disabled").arg(label));
        return nullptr;
    }
    return view;
}

void ScriptRunner::drag(const QPoint& from, const QPoint& to)
{
    DisplayDevice* display = mHost->display();
    display->touch(int(TouchEvent::Kind::Press), from);
    // Enough steps for the views to see a movement, as a finger gives them.
    constexpr int Steps = 10;
    for (int i = 1; i <= Steps; ++i)
        display->touch(int(TouchEvent::Kind::Move), from + (to - from) * i / Steps);
    display->touch(int(TouchEvent::Kind::Release), to);
}

bool ScriptRunner::execute(const Command& c, int* waitMs)
{
    QString error;
    const QString& a0 = c.args.value(0);
    if (c.name == QLatin1String("set")) {
        if (!BenchHost::assign(a0, c.args[1], &error)) {
            fail(c, error);
            return false;
        }
    } else if (c.name == QLatin1String("config")) {
        if (!ConfigStore::write(a0, c.args[1])) {
            fail(c, QStringLiteral("cannot write the configuration value %1").arg(a0));
            return false;
        }
    } else if (c.name == QLatin1String("tap") || c.name == QLatin1String("choose") || c.name == QLatin1String("answer")) {
        QPoint point;
        if (c.args.size() == 2 && isNumber(a0, true)) {
            point = QPoint(a0.toInt(), c.args[1].toInt());
        } else {
            const int nth = c.args.size() == 2 ? c.args[1].toInt() : 0;
            DisplayView* view = nullptr;
            if (c.name == QLatin1String("answer")) {
                PopupView* popup = theCenterDisplay->topmostPopup();
                if (!popup) {
                    fail(c, QStringLiteral("no popup is open to answer '%1'").arg(labelArgument(a0)));
                    return false;
                }
                const QList<DisplayView*> buttons = mHost->findShownViews(labelArgument(a0), true);
                for (DisplayView* button : buttons) {
                    if (button->isChildOf(popup))
                        view = button;
                }
                if (!view) {
                    fail(c, QStringLiteral("the open popup '%1' has no button '%2'").arg(popup->describe(), labelArgument(a0)));
                    return false;
                }
            } else {
                view = viewToTouch(c, labelArgument(a0), nth, c.name == QLatin1String("choose"));
                if (!view)
                    return false;
            }
            point = view->rootGeometry().center();
        }
        mHost->display()->tap(point);
    } else if (c.name == QLatin1String("drag")) {
        if (c.args.size() == 4) {
            drag(QPoint(a0.toInt(), c.args[1].toInt()), QPoint(c.args[2].toInt(), c.args[3].toInt()));
        } else {
            DisplayView* view = viewToTouch(c, labelArgument(a0), 0, false);
            if (!view)
                return false;
            const QPoint from = view->rootGeometry().center();
            drag(from, from + QPoint(c.args[1].toInt(), c.args[2].toInt()));
        }
    } else if (c.name == QLatin1String("type")) {
        for (const QChar ch : a0)
            KeyStroke::forCharacter(ch).deliver();
    } else if (c.name == QLatin1String("keys")) {
        return tapKeys(c, a0);
    } else if (c.name == QLatin1String("wait-for") || c.name == QLatin1String("wait-for-no")) {
        const QString label = labelArgument(a0);
        const bool wanted = c.name == QLatin1String("wait-for");
        if (!waitUntil([&] { return mHost->findShownViews(label).isEmpty() != wanted; }, ViewPatienceMs)) {
            fail(c, QStringLiteral("a view labelled '%1' %2 for %3 s")
                        .arg(a0, wanted ? "never showed" : "kept showing")
                        .arg(ViewPatienceMs / 1000));
            return false;
        }
    } else if (c.name == QLatin1String("wait")) {
        *waitMs = a0.toInt();
    } else if (c.name == QLatin1String("dump")) {
        if (!mHost->writeViewDump(a0, &error)) {
            fail(c, error);
            return false;
        }
    } else if (c.name == QLatin1String("screenshot")) {
        if (!mHost->writeScreenshot(a0, &error)) {
            fail(c, error);
            return false;
        }
    } else if (c.name == QLatin1String("expect-journal")) {
        // Host commands report from their own processes: give them a moment to arrive.
        if (!waitUntil([&] { return PlatformJournal::instance()->contains(a0); }, JournalPatienceMs)) {
            fail(c, QStringLiteral("expected the journal line '%1'; the journal has: %2")
                        .arg(a0, PlatformJournal::instance()->lines().join(QStringLiteral(" | "))));
            return false;
        }
    } else if (c.name == QLatin1String("expect-log")) {
        const QStringList lines = mLog->lines();
        if (!std::any_of(lines.begin(), lines.end(), [&](const QString& line) { return line.contains(a0); })) {
            fail(c, QStringLiteral("expected a log line with '%1'").arg(a0));
            return false;
        }
    } else if (c.name == QLatin1String("expect-value") || c.name == QLatin1String("expect-pending")) {
        return expectValue(c);
    } else if (c.name == QLatin1String("expect-view") || c.name == QLatin1String("expect-no-view")) {
        const bool wanted = c.name == QLatin1String("expect-view");
        if (mHost->findShownViews(labelArgument(a0)).isEmpty() == wanted) {
            fail(c, QString::fromLatin1(wanted ? "no shown view labelled '%1'" : "a view labelled '%1' is shown").arg(a0));
            return false;
        }
    } else if (c.name == QLatin1String("expect-enabled") || c.name == QLatin1String("expect-disabled")
               || c.name == QLatin1String("wait-for-enabled")) {
        const QString label = labelArgument(a0);
        const bool wanted = c.name != QLatin1String("expect-disabled");
        const auto settled = [&] {
            const QList<DisplayView*> views = mHost->findShownViews(label);
            return !views.isEmpty() && views.last()->isEffectivelyEnabled() == wanted;
        };
        if (c.name == QLatin1String("wait-for-enabled"))
            waitUntil(settled, ViewPatienceMs);
        const QList<DisplayView*> views = mHost->findShownViews(label);
        if (views.isEmpty()) {
            fail(c, QStringLiteral("no shown view labelled '%1'").arg(a0));
            return false;
        }
        if (!settled()) {
            fail(c, QStringLiteral("the view labelled '%1' is %2").arg(a0, wanted ? "disabled" : "enabled"));
            return false;
        }
    }
    return true;
}

bool ScriptRunner::waitUntil(const std::function<bool()>& done, int patienceMs)
{
    QElapsedTimer waited;
    waited.start();
    // Sleeps until something happens, and looks again at least every 20 ms: waiting must not
    // take the cores the browser needs.
    QTimer wake;
    wake.start(20);
    while (!done() && waited.elapsed() < patienceMs)
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    return done();
}

bool ScriptRunner::tapKeys(const Command& c, const QString& text)
{
    if (!theCenterDisplay->isKeyboardVisible()) {
        fail(c, QStringLiteral("the on-screen keyboard is not showing"));
        return false;
    }
    KeyboardView* keyboard = theCenterDisplay->keyboard();
    for (const QChar ch : text) {
        // A layer key and shift at most lead to any key.
        int taps = 0;
        for (;;) {
            ButtonView* key = keyboard->keyTowards(ch);
            if (!key) {
                fail(c, QStringLiteral("the on-screen keyboard has no key for '%1'").arg(ch));
                return false;
            }
            const bool typesIt = key->label() == QString(ch) || (ch == QLatin1Char(' ') && key->label() == QLatin1String("SPACE"));
            mHost->display()->tap(key->rootGeometry().center());
            if (typesIt)
                break;
            if (++taps > 3) {
                fail(c, QStringLiteral("the on-screen keyboard never showed the key for '%1'").arg(ch));
                return false;
            }
        }
    }
    return true;
}

bool ScriptRunner::expectValue(const Command& c)
{
    DataValue* value = DataValueRegistry::find(c.args[0]);
    const QString& wanted = c.args[1];
    QString actual;
    bool matches;
    {
        DataValue::ConditionalLocker lock(*value);
        if (c.name == QLatin1String("expect-pending")) {
            actual = value->hasPending() ? value->textOf(value->pendingVariant()) : QStringLiteral("none");
            matches = actual == wanted || (value->hasPending() && wanted != QLatin1String("none")
                                           && sameValue(value, value->pendingVariant(), wanted));
        } else {
            actual = value->isValid() ? value->textOf(value->variant()) : QStringLiteral("invalid");
            matches = wanted == QLatin1String("invalid") ? !value->isValid()
                                                          : value->isValid() && sameValue(value, value->variant(), wanted);
        }
    }
    if (!matches) {
        fail(c, QStringLiteral("expected %1 %2 to be %3, it is %4")
                    .arg(c.name == QLatin1String("expect-pending") ? "the pending value of" : "", c.args[0], wanted, actual)
                    .simplified());
        return false;
    }
    return true;
}

bool ScriptRunner::sameValue(const DataValue* value, const QVariant& actual, const QString& wanted)
{
    QVariant parsed;
    return value->parseString(wanted, &parsed) && value->textOf(parsed) == value->textOf(actual);
}
