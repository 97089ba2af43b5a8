#include "BenchOptions.h"

#include "BenchPaths.h"
#include "CANCommandLine.h"
#include "ScriptParser.h"
#include "services/StorageUtils.h"

#include <QCommandLineParser>
#include <QDir>
#include <QRegularExpression>

namespace {

void declareOptions(QCommandLineParser& parser)
{
    parser.setApplicationDescription(QStringLiteral(
        "The car's centre display on a desk: loads a UI plug-in into the application window and\n"
        "lets you drive it by hand, by script, or off screen.\n\n"
        "%1"
        "Exit status: 0 done, 1 an expectation or output failed, 2 bad usage or bad input.").arg(scriptCommandHelp()));
    const QString defaultPlugin =
        QDir(benchLibraryDir()).filePath(QStringLiteral("plugins/DiagnosticTools/libDiagnosticTools.so"));
    parser.addHelpOption();
    parser.addOptions({
        {QStringLiteral("plugin"), QStringLiteral("The plug-in library to load (default: %1).").arg(defaultPlugin),
         QStringLiteral("PATH"), defaultPlugin},
        {QStringLiteral("config"),
         QStringLiteral("The configuration store, an INI file; one that does not exist yet is created empty "
                        "(default: a new empty store for this run only)."),
         QStringLiteral("FILE")},
        {QStringLiteral("data-dir"),
         QStringLiteral("The folder where the UI saves its files, created if needed (default: %1).")
             .arg(StorageUtils::defaultDataFolder()),
         QStringLiteral("DIR")},
        {QStringLiteral("vehicle-latency"),
         QStringLiteral("How long the simulated car takes to accept a request the UI left pending, in "
                        "milliseconds; 0 accepts at once (default 300)."),
         QStringLiteral("MS"), QStringLiteral("300")},
        {QStringLiteral("service-port"),
         QStringLiteral("The loopback port of the service endpoint (its page and JSON); 0 picks a free one "
                        "(default 8080)."),
         QStringLiteral("PORT"), QStringLiteral("8080")},
        {QStringLiteral("set"), QStringLiteral("Set a data value before the plug-in loads, e.g. GUI_developerMode=true. Repeatable."),
         QStringLiteral("NAME=VALUE")},
        {QStringLiteral("size"), QStringLiteral("Size of the display (default 1920x1200)."), QStringLiteral("WxH"),
         QStringLiteral("1920x1200")},
        {QStringLiteral("offscreen"), QStringLiteral("Run without a window; frames are painted into images only.")},
        {QStringLiteral("screenshot"),
         QStringLiteral("Write a PNG of the display once the app has settled, then exit (unless a script runs)."),
         QStringLiteral("FILE")},
        {QStringLiteral("dump-views"),
         QStringLiteral("Write the view tree as JSON once the app has settled, then exit (unless a script runs)."),
         QStringLiteral("FILE")},
        {QStringLiteral("browser"), QStringLiteral("Open the Browser screen at start, on this URL."), QStringLiteral("URL")},
        {QStringLiteral("fail-host-command"),
         QStringLiteral("Make a host command fail when the UI runs it, e.g. internet-cgroup. Repeatable."),
         QStringLiteral("NAME")},
        {QStringLiteral("script"),
         QStringLiteral("Run a script of bench commands (listed above), then exit."),
         QStringLiteral("FILE")},
        {QStringLiteral("drive"),
         QStringLiteral("Take the bench car on a drive that repeats every four minutes: speed, gear, charge, 12 V "
                        "and temperatures change as on a real one, and the sample catalogue's generated traffic "
                        "carries the same values.")},
        {QStringLiteral("drive-at"), QStringLiteral("Start the drive this many seconds in (implies --drive)."),
         QStringLiteral("SECONDS")},
        {QStringLiteral("keep-going"),
         QStringLiteral("Let a script go on past failed expectations, report each, and exit 1 at the end.")},
    });
    CANCommandLine::addOptions(parser);
}

bool readDriveStart(const QCommandLineParser& parser, BenchOptions* options, QString* error)
{
    if (parser.isSet(QStringLiteral("drive-at"))) {
        bool ok = false;
        options->driveAt = parser.value(QStringLiteral("drive-at")).toDouble(&ok);
        if (!ok || !(options->driveAt >= 0) || options->driveAt > 1e9) {
            *error = QStringLiteral("--drive-at wants seconds from 0, not \"%1\"").arg(parser.value(QStringLiteral("drive-at")));
            return false;
        }
    } else if (parser.isSet(QStringLiteral("drive"))) {
        options->driveAt = 0;
    }
    return true;
}

bool readLatencyAndPort(const QCommandLineParser& parser, BenchOptions* options, QString* error)
{
    bool latencyOk = false;
    options->vehicleLatencyMs = parser.value(QStringLiteral("vehicle-latency")).toInt(&latencyOk);
    if (!latencyOk || options->vehicleLatencyMs < 0) {
        *error = QStringLiteral("--vehicle-latency wants milliseconds, 0 or more, not '%1'")
                     .arg(parser.value(QStringLiteral("vehicle-latency")));
        return false;
    }
    bool portOk = false;
    options->servicePort = parser.value(QStringLiteral("service-port")).toInt(&portOk);
    if (!portOk || options->servicePort < 0 || options->servicePort > 65535) {
        *error = QStringLiteral("--service-port wants a port from 0 to 65535, not '%1'")
                     .arg(parser.value(QStringLiteral("service-port")));
        return false;
    }
    return true;
}

bool readDisplaySize(const QCommandLineParser& parser, BenchOptions* options, QString* error)
{
    const auto size = QRegularExpression(QStringLiteral("^(\\d{2,5})x(\\d{2,5})$")).match(parser.value(QStringLiteral("size")));
    if (!size.hasMatch()) {
        *error = QStringLiteral("--size wants WIDTHxHEIGHT, e.g. 1920x1200, not '%1'").arg(parser.value(QStringLiteral("size")));
        return false;
    }
    options->size = QSize(size.captured(1).toInt(), size.captured(2).toInt());
    if (options->size.width() > MaxDisplaySide || options->size.height() > MaxDisplaySide) {
        *error = QStringLiteral("--size: the display paints at most %1x%1, not '%2'")
                     .arg(MaxDisplaySide)
                     .arg(parser.value(QStringLiteral("size")));
        return false;
    }
    return true;
}

} // namespace

bool parseBenchOptions(const QStringList& arguments, BenchOptions* options, QString* error)
{
    options->parser = std::make_shared<QCommandLineParser>();
    QCommandLineParser& parser = *options->parser;
    declareOptions(parser);
    if (!parser.parse(arguments)) {
        *error = parser.errorText();
        return false;
    }
    if (parser.isSet(QStringLiteral("help")))
        parser.showHelp(0);
    if (!parser.positionalArguments().isEmpty()) {
        *error = QStringLiteral("unexpected argument '%1'").arg(parser.positionalArguments().first());
        return false;
    }

    options->pluginPath = parser.value(QStringLiteral("plugin"));
    options->configPath = parser.value(QStringLiteral("config"));
    options->assignments = parser.values(QStringLiteral("set"));
    options->offscreen = parser.isSet(QStringLiteral("offscreen"));
    options->screenshotPath = parser.value(QStringLiteral("screenshot"));
    options->dumpPath = parser.value(QStringLiteral("dump-views"));
    options->scriptPath = parser.value(QStringLiteral("script"));
    options->keepGoing = parser.isSet(QStringLiteral("keep-going"));
    options->dataDir = parser.value(QStringLiteral("data-dir"));
    options->browserUrl = parser.value(QStringLiteral("browser"));
    options->failingHostCommands = parser.values(QStringLiteral("fail-host-command"));
    if (parser.isSet(QStringLiteral("data-dir")) && options->dataDir.isEmpty()) {
        *error = QStringLiteral("--data-dir wants a folder");
        return false;
    }
    if (!readDriveStart(parser, options, error) || !readLatencyAndPort(parser, options, error)
        || !readDisplaySize(parser, options, error))
        return false;
    for (const QString& assignment : options->assignments) {
        if (assignment.indexOf(QLatin1Char('=')) <= 0) {
            *error = QStringLiteral("--set wants NAME=VALUE, not '%1'").arg(assignment);
            return false;
        }
    }
    return true;
}
