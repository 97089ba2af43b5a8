#pragma once

#include "OrvaneExport.h"

#include <QByteArray>
#include <QString>

// Where the UI keeps its files. The host sets both folders at start; safe to read from any thread.
class ORVANE_EXPORT StorageUtils {
public:
    // The writable per-user folder for files the UI saves (saved selections and the like). Made
    // on first use; when it cannot be made that is logged and the path is still answered, so a
    // later write fails with the reason.
    static QString dataFolder();
    // Makes the folder if needed and uses it from now on; false with the reason otherwise, and
    // the folder in use stays as it was.
    static bool setDataFolder(const QString& path, QString* error);
    // The application data location's "data" folder.
    static QString defaultDataFolder();

    // The shipped, read-only files (web pages, images); empty until the host sets it.
    static QString assetsFolder();
    static void setAssetsFolder(const QString& path);
};
