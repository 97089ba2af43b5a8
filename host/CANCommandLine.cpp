#include "CANCommandLine.h"

#include "InputFile.h"

#include "can/CANData.h"
#include "can/CANDataManager.h"
#include "core/Logger.h"

#include <QCommandLineParser>
#include <QDir>

namespace {

const char* const DbcOption = "dbc";
const char* const LogOption = "can-log";
const char* const SpeedOption = "can-speed";
const char* const LoopOption = "can-loop";
const char* const InterfaceOption = "can-if";
const char* const GenerateOption = "can-generate";
const char* const RecordOption = "can-record";

bool fail(QString* error, const QString& text)
{
    if (error)
        *error = text;
    Logger(nullptr, "ERROR") << text;
    return false;
}

} // namespace

QString CANCommandLine::sampleCatalogue(const QString& assetsDir)
{
    return QDir(assetsDir).filePath(QStringLiteral("can/sample.dbc"));
}

void CANCommandLine::addOptions(QCommandLineParser& parser)
{
    parser.addOption(QCommandLineOption(QString::fromLatin1(DbcOption),
        QStringLiteral("CAN catalogue (DBC) for one bus, named BUS or after the file; repeat for more buses."),
        QStringLiteral("[BUS=]FILE")));
    parser.addOption(QCommandLineOption(QString::fromLatin1(LogOption),
        QStringLiteral("Replay a candump log (log or screen form) as CAN traffic."), QStringLiteral("FILE")));
    parser.addOption(QCommandLineOption(QString::fromLatin1(SpeedOption),
        QStringLiteral("Replay speed: 1 in real time (default), 10 ten times faster, 0 or max as fast as possible."),
        QStringLiteral("X")));
    parser.addOption(QCommandLineOption(QString::fromLatin1(LoopOption),
        QStringLiteral("Start the log over when it ends.")));
    parser.addOption(QCommandLineOption(QString::fromLatin1(InterfaceOption),
        QStringLiteral("Read a SocketCAN interface, into BUS or the bus of the same name; repeatable."),
        QStringLiteral("IFACE[=BUS]")));
    parser.addOption(QCommandLineOption(QString::fromLatin1(GenerateOption),
        QStringLiteral("Generate traffic from the catalogue at each message's cycle time.")));
    parser.addOption(QCommandLineOption(QString::fromLatin1(RecordOption),
        QStringLiteral("Write the captured signals' latest values ten times a second as CSV until the bench ends."),
        QStringLiteral("FILE.csv")));
}

QString CANCommandLine::recordPath(const QCommandLineParser& parser)
{
    return parser.value(QString::fromLatin1(RecordOption));
}

bool CANCommandLine::apply(const QCommandLineParser& parser, const QString& assetsDir, QString* error,
                           const CANTrafficGenerator::ValueSource& generated)
{
    const QStringList dbcs = parser.values(QString::fromLatin1(DbcOption));
    const QString log = parser.value(QString::fromLatin1(LogOption));
    const QStringList interfaces = parser.values(QString::fromLatin1(InterfaceOption));
    const bool generate = parser.isSet(QString::fromLatin1(GenerateOption));
    const bool loop = parser.isSet(QString::fromLatin1(LoopOption));

    double speed = 1.0;
    if (parser.isSet(QString::fromLatin1(SpeedOption))) {
        const QString text = parser.value(QString::fromLatin1(SpeedOption)).trimmed();
        bool ok = false;
        speed = text.compare(QLatin1String("max"), Qt::CaseInsensitive) == 0 ? 0.0 : text.toDouble(&ok);
        if (text.compare(QLatin1String("max"), Qt::CaseInsensitive) == 0)
            ok = true;
        if (!ok || speed < 0 || !qIsFinite(speed))
            return fail(error, QStringLiteral("--can-speed wants a number of at least 0 or \"max\", not \"%1\"").arg(text));
    }
    if ((parser.isSet(QString::fromLatin1(SpeedOption)) || loop) && log.isEmpty())
        return fail(error, QStringLiteral("--can-speed and --can-loop need --can-log"));
    for (const QString& d : dbcs)
        if (d.isEmpty() || d.endsWith(QLatin1Char('=')))
            return fail(error, QStringLiteral("--dbc wants [BUS=]FILE, not \"%1\"").arg(d));
    for (const QString& i : interfaces)
        if (i.isEmpty() || i.startsWith(QLatin1Char('=')) || i.endsWith(QLatin1Char('=')))
            return fail(error, QStringLiteral("--can-if wants IFACE[=BUS], not \"%1\"").arg(i));

    for (const QString& d : dbcs) {
        QString bus, path;
        CANData::splitBusArgument(d, &bus, &path);
        const QString problem = InputFile::problem(path);
        if (!problem.isEmpty())
            return fail(error, QStringLiteral("--dbc: %1").arg(problem));
    }
    if (!log.isEmpty()) {
        const QString problem = InputFile::problem(log, InputFile::RegularOrPipe);
        if (!problem.isEmpty())
            return fail(error, QStringLiteral("--can-log: %1").arg(problem));
        if (InputFile::isPipe(log)) {
            if (loop)
                return fail(error, QStringLiteral("--can-loop: %1 is a pipe, which cannot start over").arg(log));
            Logger(nullptr, "INFO") << "CAN log" << log << "is a pipe: frames are replayed as its writer sends them";
        }
    }

    const bool anySource = !log.isEmpty() || !interfaces.isEmpty() || generate;
    CANDataManager::loadCatalogue(dbcs.isEmpty() ? QStringList{sampleCatalogue(assetsDir)} : dbcs);

    for (const QString& i : interfaces) {
        const int eq = i.indexOf(QLatin1Char('='));
        if (eq > 0)
            CANDataManager::mapInterface(i.left(eq), i.mid(eq + 1));
    }
    if (!log.isEmpty())
        CANDataManager::addLogReplay(log, speed, loop);
    for (const QString& i : interfaces) {
        const int eq = i.indexOf(QLatin1Char('='));
        CANDataManager::addInterface(eq > 0 ? i.left(eq) : i);
    }
    if (generate || !anySource)
        CANDataManager::addGenerator(1.0, generated);
    CANDataManager::startSources();
    return true;
}
