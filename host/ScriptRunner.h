#pragma once

#include "BenchFinger.h"
#include "ScriptParser.h"

#include <QObject>
#include <QVector>

#include <functional>
#include <memory>

class BenchHost;
class CapturingLogSink;
class DataValue;
class DisplayView;
class TableView;
class QVariant;

// Runs a bench script (commands listed by scriptCommandHelp()) with one finger that touches
// the display as a person's does: taps hold, drags take time, a press stays down while other
// commands run.
class ScriptRunner : public QObject {
    Q_OBJECT
public:
    ScriptRunner(BenchHost* host, const QString& path);
    ~ScriptRunner() override;

    // Reads and checks the script; false with "FILE:LINE: reason" on the first bad line.
    bool load(QString* error);
    // A failed expectation is reported and the script goes on; it still ends with status 1.
    void setKeepGoing(bool on) { mKeepGoing = on; }
    // Runs the commands in order, then emits finished(exit status).
    void run();

signals:
    void finished(int exitStatus);

private:
    void step();
    // Runs one command; false when it failed (the reason is logged). Sets waitMs for "wait".
    bool execute(const ScriptCommand& command, int* waitMs);
    bool touch(const ScriptCommand& command);
    bool waitForView(const ScriptCommand& command);
    bool expectView(const ScriptCommand& command);
    bool expectEnabled(const ScriptCommand& command);
    bool expectJournal(const ScriptCommand& command);
    bool expectLog(const ScriptCommand& command);
    bool expectValue(const ScriptCommand& command);
    void fail(const ScriptCommand& command, const QString& reason);
    // Stops until a line (or the end) comes on standard input, then goes on.
    void pause(const QString& text);

    // Where a touch command puts the finger; false (logged) when there is no such place.
    bool touchPoint(const ScriptCommand& command, QPoint* point);
    // The shown, enabled view a touch command names (the n-th from 1, or the topmost when 0).
    DisplayView* viewToTouch(const ScriptCommand& command, const QString& label, int nth, bool overlayOnly);
    // The shown control of that class named by its own label or by the label of its row.
    DisplayView* controlNamed(const QString& name, const char* className) const;
    bool slideSwitchPosition(const ScriptCommand& command, QPoint* point);
    bool buttonOfTopmostPopup(const ScriptCommand& command, QPoint* point);
    // Taps the row of an open list with that text, scrolling it into sight first.
    bool chooseRow(const ScriptCommand& command, TableView* list, const QString& text);
    bool choose(const ScriptCommand& command);
    // Types text by tapping the keyboard's keys, switching layers as a person would.
    bool tapKeys(const ScriptCommand& command, const QString& text);

    // Runs the loop until done() or the time is up; done()'s last answer.
    static bool waitUntil(const std::function<bool()>& done, int patienceMs);
    static bool sameValue(const DataValue* value, const QVariant& actual, const QString& wanted);

    BenchHost* mHost;
    QString mPath;
    QVector<ScriptCommand> mCommands;
    int mNext = 0;
    bool mKeepGoing = false;
    int mFailedExpectations = 0;
    BenchFinger mFinger;
    // Every line logged while the script runs, for expect-log.
    std::unique_ptr<CapturingLogSink> mLog;
};
