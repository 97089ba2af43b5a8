#pragma once

#include <QElapsedTimer>
#include <QFile>
#include <QObject>
#include <QTimer>
#include <QVector>

// --can-record: the latest values of the captured signals, ten rows a second, as CSV: the
// time in seconds since the start, then one column per "bus:message:signal". Which signals
// are captured changes as the viewer's selection does; a new header row (starting "time")
// comes before the first row of each new set. Rows are flushed as written, so a bench that
// is killed leaves every row up to its end.
class CANRecorder : public QObject {
    Q_OBJECT
public:
    explicit CANRecorder(QObject* parent = nullptr);

    // Creates (or empties) the file and starts sampling; false with a reason.
    bool start(const QString& path, QString* error);
    // One row at `elapsedMs` since the start; the timer calls it.
    void sample(qint64 elapsedMs);

private:
    void writeLine(const QStringList& fields);

    QFile mFile;
    QTimer mTimer;
    QElapsedTimer mSince;
    QVector<int> mColumns;  // signal ids of the last header
    bool mHeaderWritten = false;
};
