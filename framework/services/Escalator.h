#pragma once

#include "OrvaneExport.h"

#include <QString>
#include <QStringList>

// Runs a privileged host command ("internet-cgroup") and waits for it: unlike HostCommand,
// the caller depends on the result.
class ORVANE_EXPORT Escalator {
public:
    Escalator(const QString& command, const QStringList& arguments);

    // The command's exit status; non-zero also when it could not be started or crashed.
    int runCommand();

private:
    QString mCommand;
    QStringList mArguments;
};
