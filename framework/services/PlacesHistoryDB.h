#pragma once

#include "OrvaneExport.h"

#include <QObject>
#include <QString>

// The driver's saved places, kept in an SQLite database in the UI's data folder. Home and
// work are one row each. Every call opens the database of the data folder in use, so a host
// that moves the folder finds the places there.
class ORVANE_EXPORT PlacesHistoryDB : public QObject {
    Q_OBJECT
public:
    enum class Kind { Home, Work };
    struct Place {
        QString name;
        QString address;
        double latitude = 0;
        double longitude = 0;
    };

    static PlacesHistoryDB* instance();
    static QString databasePath();

    bool hasHome() { return has(Kind::Home); }
    bool hasWork() { return has(Kind::Work); }
    bool has(Kind kind);
    bool place(Kind kind, Place* out);
    // False, with the reason logged, when the database cannot be written.
    bool setPlace(Kind kind, const Place& place);
    // With `notify` the navigation stack hears of it (through the platform journal on the bench).
    bool deleteHome(bool notify) { return remove(Kind::Home, notify); }
    bool deleteWork(bool notify) { return remove(Kind::Work, notify); }

signals:
    void placesChanged();

private:
    PlacesHistoryDB() = default;
    bool remove(Kind kind, bool notify);
};
