#pragma once

#include "OrvaneExport.h"

#include <QString>
#include <QVariant>

// The one configuration store: an INI file whose path the host sets. A read sees the file as
// it is now: it is parsed again only when it changed. Safe to use from any thread. Values are
// taken verbatim after trimming (user agents carry commas and semicolons), or from inside one
// pair of quotes, where \\, \", \n and \r stand for those characters. Keys may hold blanks;
// "[area]" then "name=..." is the key "area/name". A line that is none of these is skipped.
class ORVANE_EXPORT ConfigStore {
public:
    // Also removes what a save killed halfway left beside the file.
    static void setPath(const QString& path);
    static QString path();

    static QVariant read(const QString& key);
    // Replaces or adds one key, keeping every other line byte for byte; the file is replaced
    // atomically. Any value reads back exactly as written.
    // False (and logged) when the file cannot be read or written.
    static bool write(const QString& key, const QVariant& value);

    // Checks that the file can be read and that every line is a section, a key=value pair, a
    // comment or blank; names the first bad line otherwise.
    static bool check(const QString& path, QString* error);

    // Every key and value a file holds; false with a reason when it cannot be read or has a
    // malformed line (the first is named; the readable lines are still given).
    static bool parse(const QString& path, QList<QPair<QString, QString>>* entries, QString* error);
};

// What the host running the UI puts in place of a key's built-in default, for values that
// depend on the host (the address of its service endpoint). A value in the store still wins.
// Safe to use from any thread.
class ORVANE_EXPORT ConfigHostDefaults {
public:
    static void set(const QString& key, const QVariant& value);
    static QVariant value(const QString& key);
};

class ORVANE_EXPORT ConfigValueBase {
public:
    ConfigValueBase(const QString& key, const QVariant& defaultValue);
    virtual ~ConfigValueBase();
    QString key() const { return mKey; }
    QVariant defaultVariant() const { return mDefault; }

protected:
    // The stored value converted to the default's type, or the default when absent or unreadable.
    QVariant stored() const;

private:
    const QString mKey;
    const QVariant mDefault;
};

class ORVANE_EXPORT ConfigBoolValue : public ConfigValueBase {
public:
    ConfigBoolValue(const QString& key, bool defaultValue) : ConfigValueBase(key, defaultValue) {}
    bool value() const { return stored().toBool(); }
};

class ORVANE_EXPORT ConfigIntValue : public ConfigValueBase {
public:
    ConfigIntValue(const QString& key, int defaultValue) : ConfigValueBase(key, defaultValue) {}
    int value() const { return stored().toInt(); }
};

class ORVANE_EXPORT ConfigRealValue : public ConfigValueBase {
public:
    ConfigRealValue(const QString& key, double defaultValue) : ConfigValueBase(key, defaultValue) {}
    double value() const { return stored().toDouble(); }
};

class ORVANE_EXPORT ConfigStringValue : public ConfigValueBase {
public:
    ConfigStringValue(const QString& key, const QString& defaultValue) : ConfigValueBase(key, defaultValue) {}
    QString value() const { return stored().toString(); }
};
