#pragma once

#include "OrvaneExport.h"
#include "can/CANDecoder.h"
#include "can/CANTrafficGenerator.h"

#include <QString>
#include <QStringList>

class CANBusNode;
class CANData;
class CANMessageNode;
class CANSignalNode;

// The framework's live CAN values: the catalogue, one decoder for it, and the frame sources
// (logs, interfaces, the generator), each run on a worker thread of its own; frames that keep
// time are decoded in batches as they fall due, paced logs and the generator's on the shared
// pacer's thread (CANPacer).
// Everything here is called on the UI thread; the decoder's class comment tells how the
// workers and the UI share values.
class ORVANE_EXPORT CANDataManager {
public:
    // Catalogue. The workers read it without locks, so it never changes: a change makes a new
    // catalogue, stops the running sources, gives them a new decoder for it and starts them
    // again (a log starts over). Signals the new catalogue still holds stay captured; values
    // and counters start afresh.
    //
    // One bus per "[BUS=]FILE". Bad files are logged and skipped; false when no bus could be
    // loaded. The old catalogue's nodes are gone afterwards.
    static bool loadCatalogue(const QStringList& busArguments);
    // A catalogue built elsewhere; the old one's nodes are gone afterwards.
    static void replaceCatalogue(CANData catalogue);
    // One more bus, from catalogue text; `sourceName` names it in log lines. Every node of the
    // catalogue stays. False, and nothing changes, when the text is refused or the name taken.
    static bool addBusFromText(const QByteArray& text, const QString& busName, const QString& sourceName);
    // The current catalogue, to read on the UI thread until the next change.
    static const CANData& catalogue();
    static CANBusNode* findBus(const QString& name);
    static CANMessageNode* findMessage(CANBusNode* bus, const QString& name);
    static CANSignalNode* findSignal(CANMessageNode* message, const QString& name);

    // Live values, as the viewer uses them.
    static void startCapture(CANSignalNode* signal);
    static void stopCapture(CANSignalNode* signal);
    // Starts sources not yet running and retries interfaces that failed.
    static void ensureCaptureIsActive();
    // Floats, and signals whose factor is finer than 0.001, by name across the catalogue.
    static bool isHighPrecision(const QString& signalName);
    // The latest value of a captured signal with `decimals` decimals, the raw number and label
    // where the catalogue labels the value ("2 (DRIVE)"), `noValue` before the first frame.
    // Only the latest value is kept: any `age` but 0 gives `noValue`.
    static QString recentSignalValueAsString(int signalId, int age, int decimals, const QString& noValue);
    static bool recentSignalValue(int signalId, double* value);

    // Sources. The interface map applies to logs and interfaces alike ("can0" -> "PT"), from
    // their next start on.
    static bool mapInterface(const QString& iface, const QString& bus);
    static void addLogReplay(const QString& path, double speed, bool loop);
    static void addInterface(const QString& iface);
    // Traffic from the catalogue; signals `values` knows carry its values instead of waves.
    static void addGenerator(double speed = 1.0, CANTrafficGenerator::ValueSource values = {});
    // Stops and forgets every source, forgets values and counters, and replays this log
    // instead (interface mappings kept).
    static void switchToLogReplay(const QString& path, double speed, bool loop);
    static int sourceCount();
    static void startSources();
    static void stopSources();
    // Stops and forgets every source and the interface map (the catalogue stays).
    static void removeSources();
    // Waits until no source runs any more (logs replayed once end); false on timeout.
    static bool waitForSources(int timeoutMs);

    // Per-bus counters; CANDecoder::Unrouted for frames no bus knows.
    static CANDecoder::Counters busCounters(int bus);
    static CANDecoder* decoder();
};
