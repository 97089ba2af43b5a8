#pragma once

#include "../../framework/tests/support/TestSupport.h"

#include "gui/cef/ChromiumManager.h"
#include "views/CenterDisplay.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QThread>

#include <functional>

// waitFor, the engine pumped only when it asks its manager, as in the host's loop.
inline bool pumpUntil(const std::function<bool()>& done, int timeoutMs = 20000)
{
    return waitFor(
        [&] {
            QThread::usleep(500);
            return done();
        },
        timeoutMs);
}

// Stand-ins for the host's control-group commands, found first on PATH; each run is recorded.
class ControlGroupCommands {
public:
    // A command that hangs until it is killed.
    static constexpr int Hangs = -1;

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
        file.write(QStringLiteral("#!/bin/sh\necho \"$(basename \"$0\") $#\" >> '%1'\n%2\n")
                       .arg(mDir.filePath("runs"),
                            status == Hangs ? QStringLiteral("exec sleep 600") : QStringLiteral("exit %1").arg(status))
                       .toUtf8());
        file.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
    }

    QTemporaryDir mDir;
    QByteArray mOldPath;
    QString mOldCurrent;
};

// A Chromium profile of this run's own instead of the car's fixed one (Chromium locks its
// profile, and other programs may be running on the car's), with the launcher found where the
// manager looks for it: the current folder, while this lives.
class PrivateChromiumProfile {
public:
    explicit PrivateChromiumProfile(const QString& launcherFolder)
        : mOldCurrent(QDir::currentPath())
    {
        qputenv("VEXOR_CEF_USER_DATA_DIR", QFile::encodeName(mDir.filePath("profile")));
        QDir::setCurrent(launcherFolder);
    }
    ~PrivateChromiumProfile()
    {
        qunsetenv("VEXOR_CEF_USER_DATA_DIR");
        QDir::setCurrent(mOldCurrent);
    }
    // A scratch folder for the run's other files.
    QString folder() const { return mDir.path(); }

private:
    QTemporaryDir mDir;
    QString mOldCurrent;
};
