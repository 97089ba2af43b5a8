#pragma once

#include <QString>

// A file the bench is told to read at start. Only a regular file can be read whole without
// waiting for a writer or reading for ever; a candump log may also be a pipe, which is then the
// point of giving it.
struct InputFile {
    enum Kind { Regular, RegularOrPipe };

    // Empty when `path` can be read as `kind` allows; otherwise why not, naming the path.
    static QString problem(const QString& path, Kind kind = Regular);
    static bool isPipe(const QString& path);
};
