#pragma once

#include "../../framework/tests/support/TestSupport.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

// Stand-ins for the host's control-group commands, found first on PATH; each run is recorded.
class ControlGroupCommands {
public:
    explicit ControlGroupCommands(int internetStatus = 0)
    {
        write("internet-cgroup", internetStatus);
        write("orvane-cgroup", 0);
        mOldPath = qgetenv("PATH");
        qputenv("PATH", mDir.path().toUtf8() + ":" + mOldPath);
        mOldCurrent = QDir::currentPath();
        // No launcher here: the engine refuses to start without going near Chromium.
        QDir::setCurrent(mDir.path());
    }
    ~ControlGroupCommands()
    {
        QDir::setCurrent(mOldCurrent);
        qputenv("PATH", mOldPath);
    }
    QStringList runs() const
    {
        QFile file(mDir.filePath("runs"));
        if (!file.open(QIODevice::ReadOnly))
            return {};
        return QString::fromUtf8(file.readAll()).split('\n', Qt::SkipEmptyParts);
    }
    QString folder() const { return mDir.path(); }

private:
    void write(const QString& name, int status)
    {
        QFile file(mDir.filePath(name));
        file.open(QIODevice::WriteOnly);
        file.write(QStringLiteral("#!/bin/sh\necho \"$(basename \"$0\") $#\" >> '%1'\nexit %2\n")
                       .arg(mDir.filePath("runs")).arg(status).toUtf8());
        file.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
    }

    QTemporaryDir mDir;
    QByteArray mOldPath;
    QString mOldCurrent;
};

// The launcher where the manager looks for it (the current folder, while this lives), starting
// the real one with this run's own profile folder instead of the car's fixed one: Chromium
// locks its profile, and other programs may be running on the car's.
class PrivateProfileLauncher {
public:
    explicit PrivateProfileLauncher(const QString& realLauncherFolder)
    {
        QFile file(mDir.filePath("vexor-cef-launcher"));
        file.open(QIODevice::WriteOnly);
        file.write(QStringLiteral("#!/bin/sh\n"
                                  "for a; do shift; case \"$a\" in\n"
                                  "  --user-data-dir=*|--disk-cache-dir=*) set -- \"$@\" \"${a%%=*}=%1\";;\n"
                                  "  *) set -- \"$@\" \"$a\";;\n"
                                  "esac; done\n"
                                  "exec '%2/vexor-cef-launcher' \"$@\"\n")
                       .arg(mDir.filePath("profile"), realLauncherFolder)
                       .toUtf8());
        file.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
        mOldCurrent = QDir::currentPath();
        QDir::setCurrent(mDir.path());
    }
    ~PrivateProfileLauncher() { QDir::setCurrent(mOldCurrent); }
    QString folder() const { return mDir.path(); }

private:
    QTemporaryDir mDir;
    QString mOldCurrent;
};
