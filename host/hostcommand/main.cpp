// The bench's stand-in for every host command. Installed under each command's name, it tells
// the running bench which command was started with which arguments, and succeeds; the bench
// puts the run into its platform journal.
#include "HostCommandReport.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QLocalSocket>

#include <cstdio>

namespace {

constexpr int TimeoutMs = 5000;

int fail(const QString& command, const QString& reason)
{
    std::fprintf(stderr, "%s: %s\n", qPrintable(command), qPrintable(reason));
    return 1;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    const QString command = QFileInfo(QString::fromLocal8Bit(argv[0])).fileName();
    QStringList arguments;
    for (int i = 1; i < argc; ++i)
        arguments.append(QString::fromLocal8Bit(argv[i]));

    if (qEnvironmentVariable(HostCommandReport::FailingVariable).split(QLatin1Char(',')).contains(command))
        return fail(command, QStringLiteral("failing, as the bench was asked to"));

    const QString socketPath = qEnvironmentVariable(HostCommandReport::SocketVariable);
    if (socketPath.isEmpty())
        return fail(command, QStringLiteral("%1 is not set: no bench to report to").arg(HostCommandReport::SocketVariable));

    QLocalSocket socket;
    socket.connectToServer(socketPath);
    if (!socket.waitForConnected(TimeoutMs))
        return fail(command, QStringLiteral("cannot reach the bench at %1: %2").arg(socketPath, socket.errorString()));
    socket.write(HostCommandReport::encode(command, arguments));
    if (!socket.waitForBytesWritten(TimeoutMs))
        return fail(command, QStringLiteral("report not sent: %1").arg(socket.errorString()));
    socket.disconnectFromServer();
    if (socket.state() != QLocalSocket::UnconnectedState)
        socket.waitForDisconnected(TimeoutMs);
    return 0;
}
