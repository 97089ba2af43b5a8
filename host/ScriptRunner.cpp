#include "ScriptRunner.h"

#include "BenchHost.h"
#include "core/ConfigValue.h"
#include "core/DataValue.h"
#include "core/Logger.h"
#include "display/DisplayDevice.h"
#include "services/PlatformJournal.h"
#include "views/DisplayView.h"

#include <QFile>
#include <QHash>
#include <QKeyEvent>
#include <QProcess>
#include <QTimer>

namespace {

// Command name -> number of arguments it takes (-1: one or two, for tap).
const QHash<QString, int>& commandArity()
{
    static const QHash<QString, int> arity{
        {"set", 2}, {"config", 2}, {"tap", -1}, {"type", 1}, {"wait", 1}, {"dump", 1}, {"screenshot", 1},
        {"expect-journal", 1}, {"expect-view", 1}, {"expect-no-view", 1}, {"quit", 0},
    };
    return arity;
}

} // namespace

ScriptRunner::ScriptRunner(BenchHost* host, const QString& path)
    : mHost(host)
    , mPath(path)
{
}

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
        const bool arityOk = *arity < 0 ? (n == 1 || n == 2) : n == *arity;
        if (!arityOk) {
            *error = where(QStringLiteral("'%1' takes %2 argument(s), found %3")
                               .arg(command.name, *arity < 0 ? QStringLiteral("1 or 2") : QString::number(*arity))
                               .arg(n));
            return false;
        }
        bool ok = true;
        if (command.name == QLatin1String("wait"))
            ok = command.args[0].toInt(&ok) >= 0 && ok;
        if (command.name == QLatin1String("tap") && n == 2) {
            bool okY = false;
            command.args[0].toInt(&ok);
            command.args[1].toInt(&okY);
            ok = ok && okY;
        }
        if (!ok) {
            *error = where(QStringLiteral("'%1' wants whole non-negative numbers, found '%2'")
                               .arg(command.name, command.args.join(QLatin1Char(' '))));
            return false;
        }
        if (command.name == QLatin1String("set") && !DataValueRegistry::find(command.args[0])) {
            *error = where(QStringLiteral("unknown data value '%1'").arg(command.args[0]));
            return false;
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

void ScriptRunner::fail(const Command& command, const QString& reason)
{
    Logger(nullptr, "ERROR") << QStringLiteral("%1:%2:").arg(mPath).arg(command.line) << reason;
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
        ConfigStore::write(a0, c.args[1]);
    } else if (c.name == QLatin1String("tap")) {
        QPoint point;
        if (c.args.size() == 2) {
            point = QPoint(a0.toInt(), c.args[1].toInt());
        } else {
            DisplayView* view = mHost->findShownView(a0);
            if (!view) {
                fail(c, QStringLiteral("no shown view labelled '%1' to tap").arg(a0));
                return false;
            }
            point = view->rootGeometry().center();
        }
        mHost->display()->tap(point);
    } else if (c.name == QLatin1String("type")) {
        for (const QChar ch : a0) {
            QKeyEvent press(QEvent::KeyPress, 0, Qt::NoModifier, QString(ch));
            mHost->display()->key(&press);
            QKeyEvent release(QEvent::KeyRelease, 0, Qt::NoModifier, QString(ch));
            mHost->display()->key(&release);
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
        if (!PlatformJournal::instance()->contains(a0)) {
            fail(c, QStringLiteral("expected the journal line '%1'; the journal has: %2")
                        .arg(a0, PlatformJournal::instance()->lines().join(QStringLiteral(" | "))));
            return false;
        }
    } else if (c.name == QLatin1String("expect-view") || c.name == QLatin1String("expect-no-view")) {
        const bool wanted = c.name == QLatin1String("expect-view");
        if ((mHost->findShownView(a0) != nullptr) != wanted) {
            fail(c, QString::fromLatin1(wanted ? "no shown view labelled '%1'" : "a view labelled '%1' is shown").arg(a0));
            return false;
        }
    }
    return true;
}
