#include "services/PlatformJournal.h"

#include "core/Logger.h"

#include <QCoreApplication>
#include <QJsonArray>
#include <QThread>

QString PlatformRequest::textOf(const QString& service, const QString& operation, const QStringList& arguments)
{
    return QStringLiteral("%1.%2(%3)").arg(service, operation, arguments.join(QStringLiteral(", ")));
}

QJsonObject PlatformRequest::toJson() const
{
    return QJsonObject{
        {QStringLiteral("sequence"), double(sequence)},
        {QStringLiteral("time"), time.toString(Qt::ISODateWithMs)},
        {QStringLiteral("service"), service},
        {QStringLiteral("operation"), operation},
        {QStringLiteral("arguments"), QJsonArray::fromStringList(arguments)},
        {QStringLiteral("text"), text()},
    };
}

PlatformJournal::PlatformJournal()
{
    qRegisterMetaType<PlatformRequest>();
    // Whoever asks first, the journal belongs to the UI thread.
    if (QCoreApplication::instance())
        moveToThread(QCoreApplication::instance()->thread());
}

PlatformJournal* PlatformJournal::instance()
{
    static PlatformJournal* journal = new PlatformJournal; // lives as long as the process
    return journal;
}

void PlatformJournal::record(const QString& service, const QString& operation, const QStringList& arguments)
{
    PlatformRequest request;
    request.service = service;
    request.operation = operation;
    request.arguments = arguments;
    PlatformJournal* journal = instance();
    if (QThread::currentThread() != journal->thread()) {
        // Numbered on arrival, so the numbers follow the order the journal keeps.
        QMetaObject::invokeMethod(journal, [journal, request] { journal->append(request); }, Qt::QueuedConnection);
        return;
    }
    journal->append(request);
}

void PlatformJournal::append(PlatformRequest request)
{
    request.time = QDateTime::currentDateTimeUtc();
    {
        QMutexLocker lock(&mMutex);
        request.sequence = ++mLastSequence;
        mRequests.append(request);
    }
    Logger(nullptr, "INFO") << "Platform request:" << request.text();
    emit recorded(request);
}

QList<PlatformRequest> PlatformJournal::requests() const
{
    QMutexLocker lock(&mMutex);
    return mRequests;
}

QStringList PlatformJournal::lines() const
{
    QStringList texts;
    for (const PlatformRequest& request : requests())
        texts.append(request.text());
    return texts;
}

bool PlatformJournal::contains(const QString& text) const
{
    return lines().contains(text);
}

void PlatformJournal::clear()
{
    QMutexLocker lock(&mMutex);
    mRequests.clear();
}
