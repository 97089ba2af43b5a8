#include "diag/can/CANSelectionFile.h"

#include "can/CANData.h"
#include "can/CANDataManager.h"
#include "core/AtomicFile.h"
#include "core/Logger.h"

#include <QFile>

namespace {
// Far more than any catalogue has signals to pick: a larger file is not a selection.
constexpr qint64 MaxFileBytes = 8 * 1024 * 1024;
} // namespace

QVector<CANSignalNode*> CANSelectionFile::parse(const QByteArray& text, int* skipped)
{
    QVector<CANSignalNode*> found;
    int missed = 0;
    for (QByteArray line : text.split('\n')) {
        // Written with our line ends, maybe edited with others.
        if (line.endsWith('\r'))
            line.chop(1);
        if (line.isEmpty())
            continue;
        for (const QByteArray& part : line.split(',')) {
            const QList<QByteArray> fields = part.split(':');
            CANSignalNode* signal = nullptr;
            if (fields.size() == 3) {
                CANBusNode* bus = CANDataManager::findBus(QString::fromUtf8(fields[0]));
                CANMessageNode* message = bus ? CANDataManager::findMessage(bus, QString::fromUtf8(fields[1])) : nullptr;
                signal = message ? CANDataManager::findSignal(message, QString::fromUtf8(fields[2])) : nullptr;
            }
            if (signal)
                found.append(signal);
            else
                ++missed;
        }
    }
    if (skipped)
        *skipped = missed;
    return found;
}

QByteArray CANSelectionFile::format(const QVector<CANSignalNode*>& signalList)
{
    QByteArray text;
    for (const CANSignalNode* s : signalList)
        text += s->bus()->name() + ':' + s->message()->name() + ':' + s->name() + '\n';
    return text;
}

QByteArray CANSelectionFile::read(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return QByteArray();
    if (file.size() > MaxFileBytes) {
        Logger(nullptr, "WARN") << "CAN selection" << path << "holds" << file.size() << "bytes, more than a selection can; not read";
        return QByteArray();
    }
    return file.readAll();
}

bool CANSelectionFile::backUp(const QString& path, QString* error)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        *error = QStringLiteral("%1: %2").arg(path, file.errorString());
        return false;
    }
    const QString backup = path + QStringLiteral(".bak");
    if (!AtomicFile::replace(backup, file.readAll(), error)) {
        *error = QStringLiteral("%1: %2").arg(backup, *error);
        return false;
    }
    return true;
}

bool CANSelectionFile::write(const QString& path, const QVector<CANSignalNode*>& signalList, QString* error)
{
    return AtomicFile::replace(path, format(signalList), error);
}
