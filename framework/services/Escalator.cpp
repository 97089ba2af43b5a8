#include "services/Escalator.h"

#include "core/Logger.h"

#include <QProcess>

Escalator::Escalator(const QString& command, const QStringList& arguments)
    : mCommand(command)
    , mArguments(arguments)
{
}

int Escalator::runCommand()
{
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedChannels);
    process.start(mCommand, mArguments);
    if (!process.waitForStarted(-1)) {
        Logger(nullptr, "WARN") << "Escalated command" << mCommand << "could not be started";
        return -1;
    }
    process.waitForFinished(-1);
    if (process.exitStatus() != QProcess::NormalExit) {
        Logger(nullptr, "WARN") << "Escalated command" << mCommand << "crashed";
        return -1;
    }
    return process.exitCode();
}
