#pragma once

#include <QObject>
#include <QStringList>
#include <QVector>

#include <functional>
#include <memory>

class BenchHost;
class CapturingLogSink;
class DataValue;
class DisplayView;
class QPoint;
class QVariant;

// Runs a bench script: one command per line, checked whole before the first one runs, so a
// typo on the last line costs nothing. Commands are listed in orvane-bench --help.
class ScriptRunner : public QObject {
    Q_OBJECT
public:
    struct Command {
        int line = 0;
        QString name;
        QStringList args;
    };

    ScriptRunner(BenchHost* host, const QString& path);
    ~ScriptRunner() override;

    // Reads and checks the script; false with "FILE:LINE: reason" on the first bad line.
    bool load(QString* error);
    static bool parse(const QString& text, const QString& fileName, QVector<Command>* commands, QString* error);
    // Runs the commands in order, then emits finished(exit status).
    void run();

signals:
    void finished(int exitStatus);

private:
    void step();
    // Runs one command; false when it failed (the reason is logged). Sets waitMs for "wait".
    bool execute(const Command& command, int* waitMs);
    void fail(const Command& command, const QString& reason);
    // Stops until a line (or the end) comes on standard input, then goes on.
    void pause(const QString& text);
    // The shown, enabled view a touch command names (the n-th from 1, or the topmost when 0).
    DisplayView* viewToTouch(const Command& command, const QString& label, int nth, bool overlayOnly);
    void drag(const QPoint& from, const QPoint& to);
    bool expectValue(const Command& command);
    // Types text by tapping the keyboard's keys, switching layers as a person would.
    bool tapKeys(const Command& command, const QString& text);
    // Runs the loop until done() or the time is up; done()'s last answer.
    static bool waitUntil(const std::function<bool()>& done, int patienceMs);
    static bool sameValue(const DataValue* value, const QVariant& actual, const QString& wanted);

    BenchHost* mHost;
    QString mPath;
    QVector<Command> mCommands;
    int mNext = 0;
    // Every line logged while the script runs, for expect-log.
    std::unique_ptr<CapturingLogSink> mLog;
};
