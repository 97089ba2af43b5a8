#pragma once

#include "OrvaneExport.h"

#include <QString>
#include <QStringList>

class QObject;

// One finished log line as sinks receive it.
struct LogRecord {
    QString level;    // "INFO", "WARN", "ERROR", "DEBUG"
    QString context;  // class (and object name) of the context object, empty for none
    QString message;  // the streamed items, separated by one space
};

class ORVANE_EXPORT LogSink {
public:
    virtual ~LogSink();
    // Called from whichever thread logged; sinks are serialised by the logger.
    virtual void write(const LogRecord& record) = 0;
};

// Stream-style logging: Logger(this, "INFO") << "loaded" << count << "pages";
// The line is written when the Logger goes out of scope.
class ORVANE_EXPORT Logger {
public:
    Logger(const QObject* context, const char* level);
    ~Logger();
    Logger(const Logger&) = delete;
    Logger& operator=(const Logger&) = delete;

    Logger& operator<<(const QString& item);
    Logger& operator<<(const char* item);
    Logger& operator<<(const QByteArray& item);
    Logger& operator<<(const std::string& item);
    Logger& operator<<(bool item);
    Logger& operator<<(int item);
    Logger& operator<<(unsigned item);
    Logger& operator<<(long item);
    Logger& operator<<(unsigned long item);
    Logger& operator<<(long long item);
    Logger& operator<<(unsigned long long item);
    Logger& operator<<(double item);
    Logger& operator<<(const void* item);

    // Logs an ERROR naming the failed condition, the message and where it failed; execution goes on.
    static void logAssert(const char* condition, const QString& message, const char* source, int line);

    // The standard-error sink is installed by default; tests and hosts add others.
    static void addSink(LogSink* sink);
    static void removeSink(LogSink* sink);
    static LogSink* standardErrorSink();

    static QString describeContext(const QObject* context);

private:
    Logger& append(const QString& text);

    QString mContext;
    QString mLevel;
    QStringList mItems;
};

#define ORVANE_ASSERT(condition, message) \
    ((condition) ? void(0) : Logger::logAssert(#condition, (message), __FILE__, __LINE__))

// Keeps every line logged while it lives; tests assert on exact lines.
class ORVANE_EXPORT CapturingLogSink : public LogSink {
public:
    CapturingLogSink();
    ~CapturingLogSink() override;
    void write(const LogRecord& record) override;

    QList<LogRecord> records() const;
    // "LEVEL message" for every line, for compact assertions.
    QStringList lines() const;
    bool contains(const QString& level, const QString& message) const;
    void clear();

private:
    struct Private;
    Private* d;
};
