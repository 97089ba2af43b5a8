#pragma once

#include <QLocalServer>
#include <QObject>

class QLocalSocket;

// The bench's end of the host commands. The UI starts a command by name; the bench's
// orvane-host-command program, installed under that name, reports the run here and the run
// goes into the platform journal as "host-command.NAME(ARGS)".
class HostCommandListener : public QObject {
    Q_OBJECT
public:
    explicit HostCommandListener(QObject* parent = nullptr);

    // The bench's host commands, beside the bench's own program.
    static QString commandsFolder();

    // Listens on a socket in socketFolder (which only this user may enter) and sets this
    // process's environment for every command started from now on: commandsFolder first on
    // PATH, and the socket named in ORVANE_BENCH_JOURNAL. False with the reason otherwise.
    bool start(const QString& commandsFolder, const QString& socketFolder, QString* error);
    // Takes over a local socket that listens already (the commands' environment was set when
    // it was bound); the commands that reported meanwhile are read from the queue.
    bool listen(int socketDescriptor, QString* error);

private:
    void connectClient();
    void readReports(QLocalSocket* client);
    void dropOverlong(QLocalSocket* client);

    QLocalServer mServer;
};
