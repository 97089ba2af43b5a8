#include "services/PlacesHistoryDB.h"

#include "core/Logger.h"
#include "services/PlatformJournal.h"
#include "services/StorageUtils.h"

#include <QDir>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QThread>

namespace {

QString kindName(PlacesHistoryDB::Kind kind)
{
    return kind == PlacesHistoryDB::Kind::Home ? QStringLiteral("home") : QStringLiteral("work");
}

// The open database of the data folder in use, created with its table on first use; an
// invalid one (logged) when it cannot be opened. One connection per thread, as QtSql wants.
QSqlDatabase database()
{
    const QString path = PlacesHistoryDB::databasePath();
    const QString connection = QStringLiteral("PlacesHistoryDB-%1").arg(quintptr(QThread::currentThreadId()));
    QSqlDatabase db = QSqlDatabase::contains(connection) ? QSqlDatabase::database(connection, false)
                                                         : QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), connection);
    if (db.isOpen() && db.databaseName() == path)
        return db;
    db.close();
    db.setDatabaseName(path);
    if (!db.open()) {
        Logger(nullptr, "ERROR") << "Places database" << path << "cannot be opened:" << db.lastError().text();
        return QSqlDatabase();
    }
    QSqlQuery create(db);
    if (!create.exec(QStringLiteral("CREATE TABLE IF NOT EXISTS places ("
                                    "kind TEXT PRIMARY KEY CHECK (kind IN ('home', 'work')), "
                                    "name TEXT NOT NULL, address TEXT NOT NULL, "
                                    "latitude REAL NOT NULL, longitude REAL NOT NULL)"))) {
        Logger(nullptr, "ERROR") << "Places database" << path << "has no places table:" << create.lastError().text();
        db.close();
        return QSqlDatabase();
    }
    return db;
}

bool run(QSqlQuery& query, const char* what)
{
    if (query.exec())
        return true;
    Logger(nullptr, "ERROR") << "Places database:" << what << "failed:" << query.lastError().text();
    return false;
}

} // namespace

PlacesHistoryDB* PlacesHistoryDB::instance()
{
    static PlacesHistoryDB* db = new PlacesHistoryDB; // lives as long as the process
    return db;
}

QString PlacesHistoryDB::databasePath()
{
    return QDir(StorageUtils::dataFolder()).filePath(QStringLiteral("places.sqlite"));
}

bool PlacesHistoryDB::has(Kind kind)
{
    return place(kind, nullptr);
}

bool PlacesHistoryDB::place(Kind kind, Place* out)
{
    QSqlDatabase db = database();
    if (!db.isValid())
        return false;
    QSqlQuery query(db);
    query.prepare(QStringLiteral("SELECT name, address, latitude, longitude FROM places WHERE kind = ?"));
    query.addBindValue(kindName(kind));
    if (!run(query, "reading a place") || !query.next())
        return false;
    if (out)
        *out = {query.value(0).toString(), query.value(1).toString(), query.value(2).toDouble(), query.value(3).toDouble()};
    return true;
}

bool PlacesHistoryDB::setPlace(Kind kind, const Place& place)
{
    QSqlDatabase db = database();
    if (!db.isValid())
        return false;
    QSqlQuery query(db);
    query.prepare(QStringLiteral("INSERT OR REPLACE INTO places (kind, name, address, latitude, longitude) VALUES (?, ?, ?, ?, ?)"));
    query.addBindValue(kindName(kind));
    query.addBindValue(place.name);
    query.addBindValue(place.address);
    query.addBindValue(place.latitude);
    query.addBindValue(place.longitude);
    if (!run(query, "saving a place"))
        return false;
    emit placesChanged();
    return true;
}

bool PlacesHistoryDB::remove(Kind kind, bool notify)
{
    QSqlDatabase db = database();
    if (!db.isValid())
        return false;
    QSqlQuery query(db);
    query.prepare(QStringLiteral("DELETE FROM places WHERE kind = ?"));
    query.addBindValue(kindName(kind));
    if (!run(query, "deleting a place"))
        return false;
    if (notify) {
        PlatformJournal::record(QStringLiteral("PlacesHistoryDB"), kind == Kind::Home ? QStringLiteral("deleteHome")
                                                                                       : QStringLiteral("deleteWork"),
                                {QStringLiteral("true")});
        emit placesChanged();
    }
    return true;
}
