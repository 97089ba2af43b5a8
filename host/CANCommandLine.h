#pragma once

#include "can/CANTrafficGenerator.h"


#include <QString>

class QCommandLineParser;

// The bench host's CAN options:
//   --dbc [BUS=]FILE      (repeatable) a catalogue file per bus
//   --can-log FILE        replay a candump log, with --can-speed X and --can-loop
//   --can-if IFACE[=BUS]  (repeatable) read a SocketCAN interface into a bus
//   --can-generate        make traffic from the catalogue
//   --can-record FILE     write the captured signals' values as CSV (CANRecorder)
// With none of them the shipped sample catalogue and the generator run, so values move out of
// the box. A source without --dbc uses the sample catalogue; --dbc without a source generates.
class CANCommandLine {
public:
    static void addOptions(QCommandLineParser& parser);
    // Loads the catalogue and starts the sources. `assetsDir` holds can/sample.dbc. False
    // (with a reason) for unusable option values and for catalogues and logs that are not
    // there or not regular files (a log may be a pipe); a catalogue that cannot be parsed and
    // interfaces that cannot be read are logged and the rest runs. Generated traffic takes the
    // signals `generated` knows from it.
    static bool apply(const QCommandLineParser& parser, const QString& assetsDir, QString* error,
                      const CANTrafficGenerator::ValueSource& generated = {});

    static QString sampleCatalogue(const QString& assetsDir);
    // The --can-record file, empty when not asked for.
    static QString recordPath(const QCommandLineParser& parser);
};
