#pragma once

#include <QByteArray>
#include <QString>
#include <QVector>

class CANSignalNode;

// The saved selection: 8-bit text, one "bus:message:signal" per line, names exactly as the
// catalogue spells them. Reading also takes several entries on a line, separated by commas.
class CANSelectionFile {
public:
    // The catalogue's signals a text names, in order, repeats kept. Entries without exactly
    // three fields, or naming what the catalogue does not know, are skipped and counted.
    static QVector<CANSignalNode*> parse(const QByteArray& text, int* skipped = nullptr);
    static QByteArray format(const QVector<CANSignalNode*>& signalList);

    // The file's text; null when there is none or it cannot be read. A file too large to be
    // a selection is logged and not read.
    static QByteArray read(const QString& path);
    // Keeps the file as it is now beside it as path.bak, replacing an older copy in one step.
    static bool backUp(const QString& path, QString* error);
    // Replaces the file in one step: a crash leaves the old file or the new one. False with a
    // reason when it cannot be written; the old file then stays.
    static bool write(const QString& path, const QVector<CANSignalNode*>& signalList, QString* error);
};
