#include "HostCommandListener.h"

#include "HostCommandEnvironment.h"
#include "ListeningSocket.h"
#include "core/Logger.h"
#include "hostcommand/HostCommandReport.h"
#include "services/PlatformJournal.h"

#include <QLocalSocket>

#include <unistd.h>

HostCommandListener::HostCommandListener(QObject* parent)
    : QObject(parent)
{
    connect(&mServer, &QLocalServer::newConnection, this, &HostCommandListener::connectClient);
}

QString HostCommandListener::commandsFolder()
{
    return hostCommandsFolder();
}

bool HostCommandListener::start(const QString& commandsFolder, const QString& socketFolder, QString* error)
{
    const QString path = hostCommandSocketPath(socketFolder);
    QString reason;
    const int fd = listenOnLocalPath(path, &reason);
    if (fd < 0 || !listen(fd, &reason)) {
        *error = QStringLiteral("cannot listen for host commands on %1: %2").arg(path, reason);
        return false;
    }
    exportHostCommandEnvironment(commandsFolder, path);
    return true;
}

bool HostCommandListener::listen(int socketDescriptor, QString* error)
{
    if (!mServer.listen(qintptr(socketDescriptor))) {
        *error = mServer.errorString();
        ::close(socketDescriptor);
        return false;
    }
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
