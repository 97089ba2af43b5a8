#include "ScriptRunner.h"

#include "BenchHost.h"
#include "core/ConfigValue.h"
#include "core/DataValue.h"
#include "core/Logger.h"
#include "views/CenterDisplay.h"
#include "services/PlatformJournal.h"
#include "views/ButtonView.h"
#include "views/DisplayView.h"
#include "views/DropDownPicker.h"
#include "views/SlideSwitch.h"
#include "views/keyboard/KeyMap.h"
#include "views/keyboard/KeyboardView.h"
#include "views/popup/PopupView.h"
#include "views/table/TableCell.h"
#include "views/table/TableModel.h"
#include "views/table/TableView.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QSocketNotifier>
#include <QTimer>

#include <algorithm>
#include <cstdio>
#include <unistd.h>

namespace {

// How long expect-journal waits for a record that has not come yet.
constexpr int JournalPatienceMs = 5000;
// How long wait-for waits for a view (pages load from a browser that may be starting) or a value.
constexpr int ViewPatienceMs = 20000;

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
    return parseScript(QString::fromUtf8(file.readAll()), mPath, &mCommands, error);
}

void ScriptRunner::run()
{
    mNext = 0;
    mFailedExpectations = 0;
    // Start from a settled app, as a person would.
    mHost->settle([this] { step(); });
}

void ScriptRunner::step()
{
    if (mNext >= mCommands.size()) {
        emit finished(mFailedExpectations ? 1 : 0);
        return;
    }
    const ScriptCommand command = mCommands[mNext++];
    if (command.name == QLatin1String("quit")) {
        emit finished(mFailedExpectations ? 1 : 0);
        return;
    }
    if (command.name == QLatin1String("pause")) {
        pause(command.args[0]);
        return;
    }
    int waitMs = 0;
    if (!execute(command, &waitMs)) {
        if (!mKeepGoing || !isExpectation(command)) {
            emit finished(1);
            return;
        }
        ++mFailedExpectations;
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

void ScriptRunner::fail(const ScriptCommand& command, const QString& reason)
{
    Logger(nullptr, "ERROR") << QStringLiteral("%1:%2:").arg(mPath).arg(command.line) << reason;
}

bool ScriptRunner::execute(const ScriptCommand& c, int* waitMs)
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
            fail(c, QStringLiteral("cannot write the configuration value %1").arg(quoted(a0)));
            return false;
        }
    } else if (c.name == QLatin1String("type")) {
        for (const QChar ch : a0)
            KeyStroke::forCharacter(ch).deliver();
    } else if (c.name == QLatin1String("keys")) {
        return tapKeys(c, a0);
    } else if (c.name == QLatin1String("choose")) {
        return choose(c);
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
    } else if (c.name == QLatin1String("wait-for-value") || c.name == QLatin1String("wait-for-pending")) {
        return expectValue(c);
    } else if (c.name.startsWith(QLatin1String("wait-for"))) {
        return c.name == QLatin1String("wait-for-enabled") ? expectEnabled(c) : waitForView(c);
    } else if (c.name == QLatin1String("expect-journal")) {
        return expectJournal(c);
    } else if (c.name == QLatin1String("expect-log")) {
        return expectLog(c);
    } else if (c.name == QLatin1String("expect-value") || c.name == QLatin1String("expect-pending")) {
        return expectValue(c);
    } else if (c.name == QLatin1String("expect-view") || c.name == QLatin1String("expect-no-view")) {
        return expectView(c);
    } else if (c.name == QLatin1String("expect-enabled") || c.name == QLatin1String("expect-disabled")) {
        return expectEnabled(c);
    } else {
        return touch(c);
    }
    return true;
}

bool ScriptRunner::touch(const ScriptCommand& c)
{
    if (c.name == QLatin1String("release")) {
        mFinger.release();
        return true;
    }
    if (c.name == QLatin1String("move")) {
        mFinger.moveTo(QPoint(c.args[0].toInt(), c.args[1].toInt()));
        return true;
    }
    if (c.name == QLatin1String("drag")) {
        QPoint from, to;
        if (c.args.size() == 4) {
            from = QPoint(c.args[0].toInt(), c.args[1].toInt());
            to = QPoint(c.args[2].toInt(), c.args[3].toInt());
        } else {
            DisplayView* view = viewToTouch(c, labelArgument(c.args[0]), 0, false);
            if (!view)
                return false;
            from = view->rootGeometry().center();
            to = from + QPoint(c.args[1].toInt(), c.args[2].toInt());
        }
        mFinger.drag(from, to, c.durationMs);
        return true;
    }
    QPoint point;
    if (!touchPoint(c, &point))
        return false;
    if (c.name == QLatin1String("press"))
        mFinger.press(point);
    else
        mFinger.tap(point, c.name == QLatin1String("tap") ? c.durationMs : DefaultTapHoldMs);
    return true;
}

bool ScriptRunner::touchPoint(const ScriptCommand& c, QPoint* point)
{
    const QStringList& a = c.args;
    if (c.name == QLatin1String("answer"))
        return buttonOfTopmostPopup(c, point);
    if (a.size() == 2 && isWholeNumber(a[0])) {
        *point = QPoint(a[0].toInt(), a[1].toInt());
        return true;
    }
    if (a.size() == 2 && !isWholeNumber(a[1]))
        return slideSwitchPosition(c, point);
    DisplayView* view = viewToTouch(c, labelArgument(a[0]), a.size() == 2 ? a[1].toInt() : 0, false);
    if (view)
        *point = view->rootGeometry().center();
    return view;
}

DisplayView* ScriptRunner::viewToTouch(const ScriptCommand& c, const QString& label, int nth, bool overlayOnly)
{
    const QList<DisplayView*> views = mHost->findShownViews(label, overlayOnly);
    if (views.isEmpty()) {
        fail(c, QStringLiteral("no shown view labelled '%1' to %2").arg(quoted(label), c.name));
        return nullptr;
    }
    if (nth > views.size()) {
        fail(c, QStringLiteral("only %1 shown view(s) labelled '%2', not %3").arg(views.size()).arg(quoted(label)).arg(nth));
        return nullptr;
    }
    // The topmost one unless the script counts them.
    DisplayView* view = nth > 0 ? views[nth - 1] : views.last();
    if (!view->isEffectivelyEnabled()) {
        fail(c, QStringLiteral("the view labelled '%1' is disabled").arg(quoted(label)));
        return nullptr;
    }
    return view;
}

DisplayView* ScriptRunner::controlNamed(const QString& name, const char* className) const
{
    const QList<DisplayView*> shown = mHost->shownViews();
    QList<DisplayView*> controls;
    std::copy_if(shown.begin(), shown.end(), std::back_inserter(controls),
                 [&](DisplayView* v) { return v->inherits(className); });
    for (DisplayView* control : controls) {
        if (BenchHost::readsAs(control, name))
            return control;
    }
    // Where a finger sees the control: a picker with a face of its own takes no room itself.
    const auto placeOf = [](DisplayView* control) {
        auto* picker = qobject_cast<DropDownPicker*>(control);
        return (picker && picker->face() ? picker->face() : control)->rootGeometry();
    };
    // A row's label sits to the left of its control, on the same line.
    for (DisplayView* label : shown) {
        if (!BenchHost::readsAs(label, name))
            continue;
        const QRect at = label->rootGeometry();
        DisplayView* nearest = nullptr;
        for (DisplayView* control : controls) {
            const QRect r = placeOf(control);
            const bool sameLine = r.top() <= at.center().y() && at.center().y() <= r.bottom();
            if (sameLine && r.left() >= at.right() && (!nearest || r.left() < placeOf(nearest).left()))
                nearest = control;
        }
        if (nearest)
            return nearest;
    }
    return nullptr;
}

bool ScriptRunner::slideSwitchPosition(const ScriptCommand& c, QPoint* point)
{
    const QString name = labelArgument(c.args[0]);
    auto* slide = qobject_cast<SlideSwitch*>(controlNamed(name, "SlideSwitch"));
    if (!slide) {
        fail(c, QStringLiteral("no shown slide switch named or labelled '%1'").arg(quoted(name)));
        return false;
    }
    const QStringList positions = slide->positions();
    const auto it = std::find_if(positions.begin(), positions.end(), [&](const QString& p) {
        return p.simplified().compare(labelArgument(c.args[1]).simplified(), Qt::CaseInsensitive) == 0;
    });
    if (it == positions.end()) {
        fail(c, QStringLiteral("the slide switch '%1' has no position '%2' (it has %3)")
                    .arg(quoted(name), quoted(c.args[1]), positions.join(QLatin1Char('/'))));
        return false;
    }
    if (!slide->isEffectivelyEnabled()) {
        fail(c, QStringLiteral("the slide switch '%1' is disabled").arg(quoted(name)));
        return false;
    }
    const int index = int(it - positions.begin());
    const int segment = slide->width() / int(positions.size());
    *point = slide->mapToRoot(QPoint(index * segment + segment / 2, slide->height() / 2));
    return true;
}

bool ScriptRunner::buttonOfTopmostPopup(const ScriptCommand& c, QPoint* point)
{
    const QString label = labelArgument(c.args[0]);
    PopupView* popup = theCenterDisplay->topmostPopup();
    if (!popup) {
        fail(c, QStringLiteral("no popup is open to answer '%1'").arg(quoted(label)));
        return false;
    }
    DisplayView* button = nullptr;
    for (DisplayView* view : mHost->findShownViews(label, true)) {
        if (view->isChildOf(popup))
            button = view;
    }
    if (!button) {
        fail(c, QStringLiteral("the open popup '%1' has no button '%2'").arg(popup->describe(), quoted(label)));
        return false;
    }
    *point = button->rootGeometry().center();
    return true;
}

bool ScriptRunner::choose(const ScriptCommand& c)
{
    if (c.args.size() == 2) {
        const QString name = labelArgument(c.args[0]);
        auto* picker = qobject_cast<DropDownPicker*>(controlNamed(name, "DropDownPicker"));
        if (!picker || !picker->face()) {
            fail(c, QStringLiteral("no shown picker named or labelled '%1'").arg(quoted(name)));
            return false;
        }
        if (!picker->isEffectivelyEnabled()) {
            fail(c, QStringLiteral("the picker '%1' is disabled").arg(quoted(name)));
            return false;
        }
        mFinger.tap(picker->face()->rootGeometry().center(), DefaultTapHoldMs);
        if (!picker->isOpen()) {
            fail(c, QStringLiteral("the picker '%1' did not open").arg(quoted(name)));
            return false;
        }
        return chooseRow(c, picker->listView(), labelArgument(c.args[1]));
    }
    // The open list is the topmost table of the overlay.
    TableView* list = nullptr;
    for (DisplayView* view : mHost->shownViews(true)) {
        if (auto* table = qobject_cast<TableView*>(view))
            list = table;
    }
    if (!list) {
        fail(c, QStringLiteral("no list is open to choose '%1'").arg(quoted(c.args[0])));
        return false;
    }
    return chooseRow(c, list, labelArgument(c.args[0]));
}

bool ScriptRunner::chooseRow(const ScriptCommand& c, TableView* list, const QString& text)
{
    TableModel* model = list->model();
    const int sections = model ? model->sectionCount(list->path()) : 0;
    for (int s = 1; s <= sections; ++s) {
        const int rows = model->sectionItemCount(TableModelIndex(list->path(), s, 0));
        for (int r = 0; r < rows; ++r) {
            const TableModelIndex index(list->path(), s, r);
            if (model->item(index).toString().simplified().compare(text.simplified(), Qt::CaseInsensitive) != 0)
                continue;
            if (!list->cellForIndex(index))
                list->scrollToRow(index);
            TableCell* cell = list->cellForIndex(index);
            if (!cell || !cell->isEffectivelyEnabled()) {
                fail(c, QStringLiteral("the row '%1' cannot be tapped").arg(quoted(text)));
                return false;
            }
            // A row scrolled to the top may still be partly under the list's edge.
            const QRect visible = cell->rootGeometry().intersected(list->rootGeometry());
            mFinger.tap(visible.center(), DefaultTapHoldMs);
            return true;
        }
    }
    fail(c, QStringLiteral("the open list has no row '%1'").arg(quoted(text)));
    return false;
}

bool ScriptRunner::waitForView(const ScriptCommand& c)
{
    const QString label = labelArgument(c.args[0]);
    const bool wanted = c.name == QLatin1String("wait-for");
    if (!waitUntil([&] { return mHost->findShownViews(label).isEmpty() != wanted; }, ViewPatienceMs)) {
        fail(c, QStringLiteral("a view labelled '%1' %2 for %3 s")
                    .arg(quoted(c.args[0]), wanted ? "never showed" : "kept showing")
                    .arg(ViewPatienceMs / 1000));
        return false;
    }
    return true;
}

bool ScriptRunner::expectView(const ScriptCommand& c)
{
    const bool wanted = c.name == QLatin1String("expect-view");
    if (mHost->findShownViews(labelArgument(c.args[0])).isEmpty() == wanted) {
        fail(c, QString::fromLatin1(wanted ? "no shown view labelled '%1'" : "a view labelled '%1' is shown").arg(quoted(c.args[0])));
        return false;
    }
    return true;
}

bool ScriptRunner::expectEnabled(const ScriptCommand& c)
{
    const QString label = labelArgument(c.args[0]);
    const bool wanted = c.name != QLatin1String("expect-disabled");
    const auto settled = [&] {
        const QList<DisplayView*> views = mHost->findShownViews(label);
        return !views.isEmpty() && views.last()->isEffectivelyEnabled() == wanted;
    };
    if (c.name == QLatin1String("wait-for-enabled"))
        waitUntil(settled, ViewPatienceMs);
    if (mHost->findShownViews(label).isEmpty()) {
        fail(c, QStringLiteral("no shown view labelled '%1'").arg(quoted(c.args[0])));
        return false;
    }
    if (!settled()) {
        fail(c, QStringLiteral("the view labelled '%1' is %2").arg(quoted(c.args[0]), wanted ? "disabled" : "enabled"));
        return false;
    }
    return true;
}

bool ScriptRunner::expectJournal(const ScriptCommand& c)
{
    // Host commands report from their own processes: give them a moment to arrive.
    if (!waitUntil([&] { return PlatformJournal::instance()->contains(c.args[0]); }, JournalPatienceMs)) {
        fail(c, QStringLiteral("expected the journal line '%1'; the journal has: %2")
                    .arg(quoted(c.args[0]), PlatformJournal::instance()->lines().join(QStringLiteral(" | "))));
        return false;
    }
    return true;
}

bool ScriptRunner::expectLog(const ScriptCommand& c)
{
    const QStringList lines = mLog->lines();
    if (!std::any_of(lines.begin(), lines.end(), [&](const QString& line) { return line.contains(c.args[0]); })) {
        fail(c, QStringLiteral("expected a log line with '%1'").arg(quoted(c.args[0])));
        return false;
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

bool ScriptRunner::tapKeys(const ScriptCommand& c, const QString& text)
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
            mFinger.tap(key->rootGeometry().center(), DefaultTapHoldMs);
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

bool ScriptRunner::expectValue(const ScriptCommand& c)
{
    DataValue* value = DataValueRegistry::find(c.args[0]);
    const QString& wanted = c.args[1];
    const bool pending = c.name.endsWith(QLatin1String("-pending"));
    QString actual;
    const auto matches = [&] {
        DataValue::ConditionalLocker lock(*value);
        if (pending) {
            actual = value->hasPending() ? value->textOf(value->pendingVariant()) : QStringLiteral("none");
            return actual == wanted
                || (value->hasPending() && wanted != QLatin1String("none") && sameValue(value, value->pendingVariant(), wanted));
        }
        actual = value->isValid() ? value->textOf(value->variant()) : QStringLiteral("invalid");
        return wanted == QLatin1String("invalid") ? !value->isValid()
                                                  : value->isValid() && sameValue(value, value->variant(), wanted);
    };
    const bool waits = c.name.startsWith(QLatin1String("wait-for"));
    if (waits ? !waitUntil(matches, ViewPatienceMs) : !matches()) {
        fail(c, QStringLiteral("expected %1 %2 to be %3%4, it is %5")
                    .arg(pending ? "the pending value of" : "", c.args[0], quoted(wanted),
                         waits ? QStringLiteral(" within %1 s").arg(ViewPatienceMs / 1000) : QString(), quoted(actual))
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
