#include "core/Logger.h"

#include <QDateTime>
#include <QMetaObject>
#include <QObject>
#include <QVector>

#include <cstdio>
#include <mutex>

namespace {

class StandardErrorSink : public LogSink {
public:
    void write(const LogRecord& r) override
    {
        const QString time = QDateTime::currentDateTime().toString(QStringLiteral("yyyy-MM-dd hh:mm:ss.zzz"));
        QString line = time + QLatin1Char(' ') + r.level + QLatin1Char(' ');
        if (!r.context.isEmpty())
            line += r.context + QStringLiteral(": ");
        line += r.message + QLatin1Char('\n');
        const QByteArray bytes = line.toUtf8();
        std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stderr);
        std::fflush(stderr);
    }
};

// Threads log too. std::mutex, not QMutex: the thread sanitizer cannot see a QMutex, which Qt
// locks inside its own uninstrumented library.
struct Sinks {
    std::mutex mutex;
    StandardErrorSink standardError;
    QVector<LogSink*> sinks{&standardError};
};

Sinks& sinks()
{
    static Sinks instance;
    return instance;
}

} // namespace

LogSink::~LogSink() = default;

Logger::Logger(const QObject* context, const char* level)
    : mContext(describeContext(context))
    , mLevel(QString::fromLatin1(level))
{
}

Logger::~Logger()
{
    const LogRecord record{mLevel, mContext, mItems.join(QLatin1Char(' '))};
    Sinks& s = sinks();
    std::lock_guard<std::mutex> lock(s.mutex);
    for (LogSink* sink : s.sinks)
        sink->write(record);
}

QString Logger::describeContext(const QObject* context)
{
    if (!context)
        return QString();
    QString text = QString::fromLatin1(context->metaObject()->className());
    if (!context->objectName().isEmpty())
        text += QLatin1Char('(') + context->objectName() + QLatin1Char(')');
    return text;
}

Logger& Logger::append(const QString& text)
{
    mItems.append(text);
    return *this;
}

Logger& Logger::operator<<(const QString& item) { return append(item); }
Logger& Logger::operator<<(const char* item) { return append(QString::fromUtf8(item ? item : "(null)")); }
Logger& Logger::operator<<(const QByteArray& item) { return append(QString::fromUtf8(item)); }
Logger& Logger::operator<<(const std::string& item) { return append(QString::fromStdString(item)); }
Logger& Logger::operator<<(bool item) { return append(item ? QStringLiteral("true") : QStringLiteral("false")); }
Logger& Logger::operator<<(int item) { return append(QString::number(item)); }
Logger& Logger::operator<<(unsigned item) { return append(QString::number(item)); }
Logger& Logger::operator<<(long item) { return append(QString::number(item)); }
Logger& Logger::operator<<(unsigned long item) { return append(QString::number(item)); }
Logger& Logger::operator<<(long long item) { return append(QString::number(item)); }
Logger& Logger::operator<<(unsigned long long item) { return append(QString::number(item)); }
Logger& Logger::operator<<(double item) { return append(QString::number(item)); }
Logger& Logger::operator<<(const void* item)
{
    return append(QStringLiteral("0x") + QString::number(quintptr(item), 16));
}

void Logger::logAssert(const char* condition, const QString& message, const char* source, int line)
{
    Logger(nullptr, "ERROR") << "ASSERT failed:" << condition << "-" << message
                             << QStringLiteral("(%1:%2)").arg(QString::fromUtf8(source)).arg(line);
}

void Logger::addSink(LogSink* sink)
{
    Sinks& s = sinks();
    std::lock_guard<std::mutex> lock(s.mutex);
    if (!s.sinks.contains(sink))
        s.sinks.append(sink);
}

void Logger::removeSink(LogSink* sink)
{
    Sinks& s = sinks();
    std::lock_guard<std::mutex> lock(s.mutex);
    s.sinks.removeAll(sink);
}

LogSink* Logger::standardErrorSink()
{
    return &sinks().standardError;
}

struct CapturingLogSink::Private {
    mutable std::mutex mutex;
    QList<LogRecord> records;
};

CapturingLogSink::CapturingLogSink()
    : d(new Private)
{
    Logger::addSink(this);
}

CapturingLogSink::~CapturingLogSink()
{
    Logger::removeSink(this);
    delete d;
}

void CapturingLogSink::write(const LogRecord& record)
{
    std::lock_guard<std::mutex> lock(d->mutex);
    d->records.append(record);
}

QList<LogRecord> CapturingLogSink::records() const
{
    std::lock_guard<std::mutex> lock(d->mutex);
    return d->records;
}

QStringList CapturingLogSink::lines() const
{
    QStringList result;
    for (const LogRecord& r : records())
        result.append(r.level + QLatin1Char(' ') + r.message);
    return result;
}

bool CapturingLogSink::contains(const QString& level, const QString& message) const
{
    return lines().contains(level + QLatin1Char(' ') + message);
}

void CapturingLogSink::clear()
{
    std::lock_guard<std::mutex> lock(d->mutex);
    d->records.clear();
}
