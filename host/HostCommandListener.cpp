#include "HostCommandListener.h"

#include "BenchPaths.h"
#include "core/Logger.h"
#include "hostcommand/HostCommandReport.h"
#include "services/PlatformJournal.h"

#include <QDir>
#include <QFile>
#include <QLocalSocket>

HostCommandListener::HostCommandListener(QObject* parent)
    : QObject(parent)
{
    connect(&mServer, &QLocalServer::newConnection, this, &HostCommandListener::connectClient);
}

QString HostCommandListener::commandsFolder()
{
    return benchLibraryDir() + QStringLiteral("/host-commands");
}

bool HostCommandListener::start(const QString& commandsFolder, const QString& socketFolder, QString* error)
{
    mServer.setSocketOptions(QLocalServer::UserAccessOption);
    const QString socketPath = QDir(socketFolder).filePath(QStringLiteral("host-commands.sock"));
    if (!mServer.listen(socketPath)) {
        *error = QStringLiteral("cannot listen for host commands on %1: %2").arg(socketPath, mServer.errorString());
        return false;
    }
    if (!QDir(commandsFolder).exists())
        Logger(this, "WARN") << "No host commands in" << commandsFolder << "- every host command will fail to start";
    const QByteArray path = qgetenv("PATH");
    qputenv("PATH", QFile::encodeName(commandsFolder) + (path.isEmpty() ? QByteArray() : ':' + path));
    qputenv(HostCommandReport::SocketVariable, QFile::encodeName(mServer.fullServerName()));
    return true;
}

void HostCommandListener::connectClient()
{
    while (QLocalSocket* client = mServer.nextPendingConnection()) {
        client->setParent(this);
        connect(client, &QLocalSocket::readyRead, this, [this, client] { readReports(client); });
        connect(client, &QLocalSocket::disconnected, client, &QObject::deleteLater);
        readReports(client); // what came with the connection
    }
}

void HostCommandListener::readReports(QLocalSocket* client)
{
    while (client->canReadLine()) {
        const QByteArray line = client->readLine(HostCommandReport::MaxLineLength + 1);
        if (!line.endsWith('\n'))
            return dropOverlong(client);
        QString command;
        QStringList arguments;
        if (HostCommandReport::decode(line, &command, &arguments))
            PlatformJournal::record(QStringLiteral("host-command"), command, arguments);
        else
            Logger(this, "WARN") << "Not a host command report:" << QString::fromUtf8(line.left(200)).trimmed();
    }
    if (client->bytesAvailable() > HostCommandReport::MaxLineLength)
        dropOverlong(client);
}

void HostCommandListener::dropOverlong(QLocalSocket* client)
{
    Logger(this, "WARN") << "Host command report longer than" << HostCommandReport::MaxLineLength
                         << "bytes; connection dropped";
    client->abort();
}
