#pragma once

#include "OrvaneExport.h"

#include <QDateTime>
#include <QJsonObject>
#include <QList>
#include <QMetaType>
#include <QMutex>
#include <QObject>
#include <QStringList>

// One request the UI made of the car's platform: a service call, a restart or a host command.
struct ORVANE_EXPORT PlatformRequest {
    quint64 sequence = 0; // 1 for the first request of the process, never reused
    QDateTime time;       // when the journal took it, UTC
    QString service;
    QString operation;
    QStringList arguments;

    // "service.operation(arg1, arg2)": the one form scripts and tests compare.
    QString text() const { return textOf(service, operation, arguments); }
    static QString textOf(const QString& service, const QString& operation, const QStringList& arguments);
    // {"sequence", "time", "service", "operation", "arguments", "text"}
    QJsonObject toJson() const;
};
Q_DECLARE_METATYPE(PlatformRequest)

// Every platform request, in order. The bench shows it; scripts and tests read it. Requests
// may be recorded on any thread; they are numbered and kept on the journal's (UI) thread, and
// can be read from any thread.
class ORVANE_EXPORT PlatformJournal : public QObject {
    Q_OBJECT
public:
    static PlatformJournal* instance();

    // Records a request and logs it as "Platform request: <text form>".
    static void record(const QString& service, const QString& operation, const QStringList& arguments = {});

    QList<PlatformRequest> requests() const;
    // The text forms, in order.
    QStringList lines() const;
    bool contains(const QString& text) const;
    // Forgets the requests so far; numbering goes on.
    void clear();

signals:
    void recorded(const PlatformRequest& request);

private:
    PlatformJournal();
    void append(PlatformRequest request);

    mutable QMutex mMutex;
    QList<PlatformRequest> mRequests;
    quint64 mLastSequence = 0;
};
