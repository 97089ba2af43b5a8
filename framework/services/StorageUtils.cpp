#include "services/StorageUtils.h"

#include "core/Logger.h"

#include <QDir>
#include <QFileInfo>
#include <QMutex>
#include <QTemporaryFile>

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <QStandardPaths>

namespace {

// What a save's temporary is called beside the file, before six random letters or digits.
const char* const SavingSuffix = ".saving-";

struct Folders {
    QMutex mutex;
    QString data;
    QString assets;
};

Folders& folders()
{
    static Folders instance;
    return instance;
}

bool makeFolder(const QString& path, QString* error)
{
    if (!QDir(path).exists() && !QDir().mkpath(path)) {
        *error = QStringLiteral("cannot create data folder %1").arg(path);
        return false;
    }
    if (!QFileInfo(path).isWritable()) {
        *error = QStringLiteral("data folder %1 is not writable").arg(path);
        return false;
    }
    return true;
}

} // namespace

QString StorageUtils::defaultDataFolder()
{
    return QStandardPaths::writableLocation(QStandardPaths::AppDataLocation) + QStringLiteral("/data");
}

QString StorageUtils::dataFolder()
{
    Folders& f = folders();
    QMutexLocker lock(&f.mutex);
    if (f.data.isEmpty()) {
        f.data = defaultDataFolder();
        QString error;
        if (!makeFolder(f.data, &error))
            Logger(nullptr, "ERROR") << error;
    }
    return f.data;
}

bool StorageUtils::setDataFolder(const QString& path, QString* error)
{
    if (path.isEmpty()) {
        *error = QStringLiteral("the data folder needs a path");
        return false;
    }
    const QString absolute = QDir(path).absolutePath();
    if (!makeFolder(absolute, error))
        return false;
    Folders& f = folders();
    QMutexLocker lock(&f.mutex);
    f.data = absolute;
    return true;
}

bool StorageUtils::replaceFile(const QString& path, const QByteArray& content, QString* error)
{
    QTemporaryFile temporary(path + QLatin1String(SavingSuffix) + QStringLiteral("XXXXXX"));
    if (!temporary.open() || temporary.write(content) != content.size() || !temporary.flush()
        || ::fsync(temporary.handle()) != 0) {
        *error = temporary.errorString();
        return false;
    }
    const QFileInfo existing(path);
    temporary.setPermissions(existing.exists() ? existing.permissions()
                                               : QFile::ReadOwner | QFile::WriteOwner | QFile::ReadGroup | QFile::ReadOther);
    if (::rename(QFile::encodeName(temporary.fileName()).constData(), QFile::encodeName(path).constData()) != 0) {
        *error = QString::fromLocal8Bit(std::strerror(errno));
        return false;
    }
    temporary.setAutoRemove(false);
    return true;
}

void StorageUtils::removeSaveLeftovers(const QString& path)
{
    const QFileInfo saved(path);
    const QString prefix = saved.fileName() + QLatin1String(SavingSuffix);
    QDir folder = saved.dir();
    for (const QString& name : folder.entryList({prefix + QStringLiteral("??????")}, QDir::Files | QDir::Hidden)) {
        if (folder.remove(name))
            Logger(nullptr, "INFO") << "Removed" << folder.filePath(name) << "left by an interrupted save";
        else
            Logger(nullptr, "WARN") << "Cannot remove" << folder.filePath(name) << "left by an interrupted save";
    }
}

QString StorageUtils::assetsFolder()
{
    Folders& f = folders();
    QMutexLocker lock(&f.mutex);
    return f.assets;
}

void StorageUtils::setAssetsFolder(const QString& path)
{
    Folders& f = folders();
    QMutexLocker lock(&f.mutex);
    f.assets = path;
}
