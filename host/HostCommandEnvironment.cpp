#include "HostCommandEnvironment.h"

#include "BenchPaths.h"
#include "core/Logger.h"
#include "hostcommand/HostCommandReport.h"

#include <QDir>
#include <QFile>

QString hostCommandsFolder()
{
    return benchLibraryDir() + QStringLiteral("/host-commands");
}

QString hostCommandSocketPath(const QString& socketFolder)
{
    return QDir(socketFolder).filePath(QStringLiteral("host-commands.sock"));
}

void exportHostCommandEnvironment(const QString& commandsFolder, const QString& socketPath)
{
    if (!QDir(commandsFolder).exists())
        Logger(nullptr, "WARN") << "No host commands in" << commandsFolder << "- every host command will fail to start";
    const QByteArray path = qgetenv("PATH");
    qputenv("PATH", QFile::encodeName(commandsFolder) + (path.isEmpty() ? QByteArray() : ':' + path));
    qputenv(HostCommandReport::SocketVariable, QFile::encodeName(socketPath));
}
