#include "services/Escalator.h"

#include "core/Logger.h"

#include <QProcess>
#include <QStandardPaths>

#include <atomic>
#include <cerrno>

namespace {
// The host's commands answer at once; one that hangs must not freeze the display for good.
std::atomic<int> gTimeoutMs{5000};
} // namespace

Escalator::Escalator(const QString& command, const QStringList& arguments)
    : mCommand(command)
    , mArguments(arguments)
{
}

int Escalator::timeoutMs()
{
    return gTimeoutMs;
}

void Escalator::setTimeoutMs(int ms)
{
    gTimeoutMs = ms;
}

int Escalator::runCommand()
{
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedChannels);
    process.start(mCommand, mArguments);
    if (!process.waitForStarted(timeoutMs())) {
        Logger(nullptr, "WARN") << "Escalated command" << mCommand << "could not be started:" << process.errorString();
        errno = QStandardPaths::findExecutable(mCommand).isEmpty() ? ENOENT : EACCES;
        return -1;
    }
    if (!process.waitForFinished(timeoutMs())) {
        Logger(nullptr, "WARN") << "Escalated command" << mCommand << "did not finish within" << timeoutMs()
                                << "ms; killed";
        process.kill();
        process.waitForFinished(-1);
        errno = ETIMEDOUT;
        return -1;
    }
    if (process.exitStatus() != QProcess::NormalExit) {
        Logger(nullptr, "WARN") << "Escalated command" << mCommand << "crashed";
        errno = ECANCELED;
        return -1;
    }
    if (process.exitCode() != 0)
        errno = EPERM;
    return process.exitCode();
}
