#pragma once

#include "OrvaneExport.h"

#include <QByteArray>
#include <QString>

// Saving a file so that a crash leaves the old content or the new, never half of either.
class ORVANE_EXPORT AtomicFile {
public:
    // Replaces the content in one step through a temporary beside the file. The file keeps its
    // permissions. False with the reason otherwise; the old file then stays.
    static bool replace(const QString& path, const QByteArray& content, QString* error);
    // A replace() killed halfway leaves its temporary behind: removes those of this file,
    // logging each.
    static void removeLeftovers(const QString& path);
};
