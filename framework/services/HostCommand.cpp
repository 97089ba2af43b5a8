#include "services/HostCommand.h"

#include "core/Logger.h"

#include <QProcess>

bool HostCommand::start(const QString& commandLine)
{
    QStringList arguments = QProcess::splitCommand(commandLine);
    const QString program = arguments.isEmpty() ? QString() : arguments.takeFirst();
    if (program.isEmpty() || !QProcess::startDetached(program, arguments)) {
        Logger(nullptr, "WARN") << "Host command" << commandLine << "could not be started";
        return false;
    }
    return true;
}
