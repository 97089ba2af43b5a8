#include "services/StorageUtils.h"

#include "core/Logger.h"

#include <QDir>
#include <QFileInfo>
#include <QMutex>

#include <cstdio>
#include <QStandardPaths>

namespace {


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
