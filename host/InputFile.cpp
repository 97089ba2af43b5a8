#include "InputFile.h"

#include <QFile>

#include <sys/stat.h>
#include <unistd.h>

QString InputFile::problem(const QString& path, Kind kind)
{
    struct stat st;
    const QByteArray native = QFile::encodeName(path);
    if (path.isEmpty() || ::stat(native.constData(), &st) != 0)
        return QStringLiteral("%1 does not exist").arg(path);
    if (S_ISDIR(st.st_mode))
        return QStringLiteral("%1 is a folder, not a file").arg(path);
    if (!S_ISREG(st.st_mode) && !(kind == RegularOrPipe && S_ISFIFO(st.st_mode)))
        return QStringLiteral("%1 is not a regular file").arg(path);
    if (::access(native.constData(), R_OK) != 0)
        return QStringLiteral("%1 cannot be read").arg(path);
    return QString();
}

bool InputFile::isPipe(const QString& path)
{
    struct stat st;
    return ::stat(QFile::encodeName(path).constData(), &st) == 0 && S_ISFIFO(st.st_mode);
}
