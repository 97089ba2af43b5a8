#pragma once

#include <QCoreApplication>
#include <QElapsedTimer>
#include <functional>

// Runs the event loop until the condition holds or the time is up; returns the condition. The
// time only bounds a failure: on a busy machine a passing wait may take seconds.
inline bool waitFor(const std::function<bool()>& condition, int timeoutMs = 20000)
{
    QElapsedTimer timer;
    timer.start();
    while (!condition()) {
        if (timer.elapsed() > timeoutMs)
            return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    }
    return true;
}

// Lets queued work (layouts, deferred deletes) land.
inline void drainEvents()
{
    for (int i = 0; i < 5; ++i) {
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QCoreApplication::processEvents(QEventLoop::AllEvents);
    }
}

#include <QString>
#include <QStringList>
#include <ostream>

// Readable failure messages for Qt strings (and, through them, string lists).
inline void PrintTo(const QString& text, std::ostream* out)
{
    *out << '"' << text.toStdString() << '"';
}

inline void PrintTo(const QStringList& list, std::ostream* out)
{
    *out << '[' << list.join(QStringLiteral(", ")).toStdString() << ']';
}
