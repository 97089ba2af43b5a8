#pragma once

// One line a host command sends to the bench: {"command": NAME, "arguments": [...]} and a
// newline. JSON keeps blanks, commas and quotes in arguments intact.

#include <QByteArray>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QStringList>

namespace HostCommandReport {

// The environment variable that names the bench's socket.
constexpr const char* SocketVariable = "ORVANE_BENCH_JOURNAL";
// The environment variable listing, comma-separated, the commands that fail instead.
constexpr const char* FailingVariable = "ORVANE_BENCH_FAILING_COMMANDS";
// Longer lines are not reports; the bench drops the connection.
constexpr int MaxLineLength = 64 * 1024;

inline QByteArray encode(const QString& command, const QStringList& arguments)
{
    const QJsonObject report{{QStringLiteral("command"), command},
                             {QStringLiteral("arguments"), QJsonArray::fromStringList(arguments)}};
    return QJsonDocument(report).toJson(QJsonDocument::Compact) + '\n';
}

// False for anything but an object with a non-empty command text and an array of texts.
inline bool decode(const QByteArray& line, QString* command, QStringList* arguments)
{
    const QJsonDocument doc = QJsonDocument::fromJson(line);
    if (!doc.isObject())
        return false;
    const QJsonValue name = doc.object().value(QStringLiteral("command"));
    const QJsonValue list = doc.object().value(QStringLiteral("arguments"));
    if (!name.isString() || name.toString().isEmpty() || !list.isArray())
        return false;
    arguments->clear();
    for (const QJsonValue& argument : list.toArray()) {
        if (!argument.isString())
            return false;
        arguments->append(argument.toString());
    }
    *command = name.toString();
    return true;
}

} // namespace HostCommandReport
