#include "core/AtomicFile.h"

#include "core/Logger.h"

#include <QDir>
#include <QFileInfo>
#include <QTemporaryFile>

#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace {

// What a save's temporary is called beside the file, before six random letters or digits.
const char* const SavingSuffix = ".saving-";

} // namespace

bool AtomicFile::replace(const QString& path, const QByteArray& content, QString* error)
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

void AtomicFile::removeLeftovers(const QString& path)
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
