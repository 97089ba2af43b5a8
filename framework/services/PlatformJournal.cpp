#include "services/PlatformJournal.h"

#include "core/Logger.h"

#include <QThread>

PlatformJournal* PlatformJournal::instance()
{
    static PlatformJournal* journal = new PlatformJournal; // lives as long as the process
    return journal;
}

void PlatformJournal::record(const QString& line)
{
    PlatformJournal* journal = instance();
    if (QThread::currentThread() != journal->thread()) {
        QMetaObject::invokeMethod(journal, [line] { record(line); }, Qt::QueuedConnection);
        return;
    }
    Logger(nullptr, "INFO") << "Platform request:" << line;
    journal->mLines.append(line);
    emit journal->recorded(line);
}
