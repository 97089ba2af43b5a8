#pragma once

// What the CAN benchmarks share: the source tree, the reference catalogues, quiet logging and
// candump logs written from a catalogue.
#include "can/CANData.h"
#include "core/Logger.h"

#include <QDir>
#include <QFile>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <random>

namespace {

// Keeps the catalogue summaries off the figures.
struct QuietLog : LogSink {
    QuietLog() { Logger::removeSink(Logger::standardErrorSink()); }
    void write(const LogRecord&) override {}
};

inline QString sourceDir()
{
    const QByteArray env = qgetenv("ORVANE_SOURCE_DIR");
    return env.isEmpty() ? QStringLiteral(ORVANE_SOURCE_DIR_DEFAULT) : QString::fromLocal8Bit(env);
}

inline QStringList referenceCatalogues()
{
    const QDir dir(sourceDir() + QStringLiteral("/testdata/dbc"));
    QStringList files;
    for (const QString& f : dir.entryList({QStringLiteral("*.dbc")}, QDir::Files, QDir::Name))
        files << dir.filePath(f);
    if (files.isEmpty()) {
        std::fprintf(stderr, "no reference catalogues in %s\n", qPrintable(dir.path()));
        std::exit(1);
    }
    return files;
}

// Writes `frames` lines of the catalogue's traffic, `gap` seconds apart, on `iface`.
inline QString writeLog(const QString& path, const CANData& data, int bus, int frames, double gap, const char* iface)
{
    QFile f(path);
    f.open(QIODevice::WriteOnly);
    std::mt19937 random(bus + 1);
    QByteArray line;
    const CANBusNode* b = data.busAt(bus);
    for (int i = 0; i < frames; ++i) {
        const CANMessageNode* m = b->messageAt(i % b->messageCount());
        const unsigned len = std::min<unsigned>(m->definition().dlc, 8);
        char head[64];
        std::snprintf(head, sizeof head, m->isExtended() ? "(%.6f) %s %08X#" : "(%.6f) %s %03X#", 1000.0 + i * gap, iface,
            m->frameId());
        line = head;
        for (unsigned k = 0; k < len; ++k) {
            char hex[3];
            std::snprintf(hex, sizeof hex, "%02X", unsigned(random() & 0xFF));
            line += hex;
        }
        line += '\n';
        f.write(line);
    }
    return path;
}

} // namespace
