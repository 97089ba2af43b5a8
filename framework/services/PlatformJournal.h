#pragma once

#include "OrvaneExport.h"

#include <QObject>
#include <QStringList>

// Every request the UI made of the car's platform (restarts, service calls, host commands),
// in order. The bench shows it; scripts and tests read it.
class ORVANE_EXPORT PlatformJournal : public QObject {
    Q_OBJECT
public:
    static PlatformJournal* instance();

    // Records a request and logs it as "Platform request: <line>".
    static void record(const QString& line);
    QStringList lines() const { return mLines; }
    bool contains(const QString& line) const { return mLines.contains(line); }
    void clear() { mLines.clear(); }

signals:
    void recorded(const QString& line);

private:
    PlatformJournal() = default;
    QStringList mLines;
};
