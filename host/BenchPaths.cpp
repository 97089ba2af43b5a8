#include "BenchPaths.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>

QString benchLibraryDir()
{
    const QDir bin(QCoreApplication::applicationDirPath());
    if (QFileInfo(bin.filePath(QStringLiteral("plugins"))).isDir())
        return bin.path();
    return QDir::cleanPath(bin.filePath(QStringLiteral("../lib/orvane")));
}
