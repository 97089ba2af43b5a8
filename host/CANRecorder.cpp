#include "CANRecorder.h"

#include "can/CANData.h"
#include "can/CANDataManager.h"
#include "core/Logger.h"

namespace {

constexpr int SampleMs = 100;

// RFC 4180: a field with a separator, a quote or a line end is quoted, quotes doubled.
QString csvField(const QString& text)
{
    if (!text.contains(QLatin1Char(',')) && !text.contains(QLatin1Char('"')) && !text.contains(QLatin1Char('\n'))
        && !text.contains(QLatin1Char('\r')))
        return text;
    QString quoted = text;
    quoted.replace(QLatin1Char('"'), QStringLiteral("\"\""));
    return QLatin1Char('"') + quoted + QLatin1Char('"');
}

} // namespace

CANRecorder::CANRecorder(QObject* parent)
    : QObject(parent)
{
    mTimer.setInterval(SampleMs);
    connect(&mTimer, &QTimer::timeout, this, [this] { sample(mSince.elapsed()); });
}

bool CANRecorder::start(const QString& path, QString* error)
{
    mFile.setFileName(path);
    if (!mFile.open(QIODevice::WriteOnly | QIODevice::Truncate)) {
        *error = QStringLiteral("cannot write %1: %2").arg(path, mFile.errorString());
        return false;
    }
    Logger(this, "INFO") << "Recording captured CAN signals to" << path;
    mSince.start();
    mTimer.start();
    return true;
}

void CANRecorder::sample(qint64 elapsedMs)
{
    const CANData& catalogue = CANDataManager::catalogue();
    CANDecoder* decoder = CANDataManager::decoder();
    QVector<int> captured;
    for (int id = 0; id < catalogue.signalCount(); ++id) {
        if (decoder->isCaptured(id))
            captured.append(id);
    }
    if (!mHeaderWritten || captured != mColumns) {
        QStringList header{QStringLiteral("time")};
        for (int id : qAsConst(captured)) {
            const CANSignalNode* s = catalogue.signalById(id);
            header << QString::fromUtf8(s->bus()->name() + ':' + s->message()->name() + ':' + s->name());
        }
        writeLine(header);
        mColumns = captured;
        mHeaderWritten = true;
    }
    QStringList row{QString::number(elapsedMs / 1000.0, 'f', 3)};
    for (int id : qAsConst(captured)) {
        double value = 0;
        row << (CANDataManager::recentSignalValue(id, &value) ? QString::number(value, 'g', 12) : QString());
    }
    writeLine(row);
}

void CANRecorder::writeLine(const QStringList& fields)
{
    QStringList out;
    for (const QString& f : fields)
        out << csvField(f);
    mFile.write((out.join(QLatin1Char(',')) + QLatin1Char('\n')).toUtf8());
    if (!mFile.flush()) {
        Logger(this, "ERROR") << "CAN recording to" << mFile.fileName() << "stopped:" << mFile.errorString();
        mTimer.stop();
    }
}
