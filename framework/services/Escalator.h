#pragma once

#include "OrvaneExport.h"

#include <QString>
#include <QStringList>

// Runs a privileged host command ("internet-cgroup") and waits for it: unlike HostCommand,
// the caller depends on the result. The name, as the platform has it, is for the privilege the
// command escalates to.
class ORVANE_EXPORT Escalator {
public:
    Escalator(const QString& command, const QStringList& arguments);

    // The command's exit status; non-zero also when it could not be started, crashed or did
    // not finish in time (it is then killed). A failure leaves errno saying which, for perror.
    int runCommand();

    // How long runCommand() waits for the command; the UI thread waits with it.
    static int timeoutMs();
    static void setTimeoutMs(int ms);

private:
    QString mCommand;
    QStringList mArguments;
};
