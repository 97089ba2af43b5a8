#include "core/ConfigValue.h"

#include <QFile>
#include <QMutex>
#include <QSaveFile>
#include <QTextStream>

namespace {

struct Store {
    QMutex mutex;
    QString path;
};

Store& store()
{
    static Store instance;
    return instance;
}

} // namespace

void ConfigStore::setPath(const QString& path)
{
    QMutexLocker lock(&store().mutex);
    store().path = path;
}

QString ConfigStore::path()
{
    QMutexLocker lock(&store().mutex);
    return store().path;
}

bool ConfigStore::parse(const QString& path, QList<QPair<QString, QString>>* entries, QString* error)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text)) {
        if (error)
            *error = QStringLiteral("cannot read configuration file %1: %2").arg(path, file.errorString());
        return false;
    }
    QTextStream in(&file);
    in.setCodec("UTF-8");
    QString section;
    int number = 0;
    while (!in.atEnd()) {
        const QString line = in.readLine().trimmed();
        ++number;
        if (line.isEmpty() || line.startsWith(QLatin1Char(';')) || line.startsWith(QLatin1Char('#')))
            continue;
        if (line.startsWith(QLatin1Char('[')) && line.endsWith(QLatin1Char(']'))) {
            section = line.mid(1, line.size() - 2).trimmed();
            if (section.compare(QLatin1String("General"), Qt::CaseInsensitive) == 0)
                section.clear();
            continue;
        }
        const int eq = line.indexOf(QLatin1Char('='));
        const QString name = eq > 0 ? line.left(eq).trimmed() : QString();
        if (name.isEmpty()) {
            if (error)
                *error = QStringLiteral("%1:%2: expected [section], key=value or a comment, found '%3'")
                             .arg(path).arg(number).arg(line);
            return false;
        }
        QString value = line.mid(eq + 1).trimmed();
        if (value.size() >= 2 && value.startsWith(QLatin1Char('"')) && value.endsWith(QLatin1Char('"')))
            value = value.mid(1, value.size() - 2);
        entries->append({section.isEmpty() ? name : section + QLatin1Char('/') + name, value});
    }
    return true;
}

bool ConfigStore::check(const QString& path, QString* error)
{
    QList<QPair<QString, QString>> entries;
    return parse(path, &entries, error);
}

QVariant ConfigStore::read(const QString& key)
{
    const QString file = path();
    if (file.isEmpty())
        return QVariant();
    QList<QPair<QString, QString>> entries;
    if (!parse(file, &entries, nullptr))
        return QVariant();
    QVariant found;
    for (const auto& entry : entries) {
        if (entry.first == key)
            found = entry.second; // the last one wins, as in any INI reader
    }
    return found;
}

void ConfigStore::write(const QString& key, const QVariant& value)
{
    const QString file = path();
    if (file.isEmpty())
        return;
    QList<QPair<QString, QString>> entries;
    parse(file, &entries, nullptr);
    bool replaced = false;
    for (auto& entry : entries) {
        if (entry.first == key) {
            entry.second = value.toString();
            replaced = true;
        }
    }
    if (!replaced)
        entries.append({key, value.toString()});
    // Keys stay flat ("area/name=value"): that reads back the same and keeps blanks intact.
    QSaveFile out(file);
    if (!out.open(QIODevice::WriteOnly | QIODevice::Text))
        return;
    for (const auto& entry : entries)
        out.write((entry.first + QLatin1Char('=') + entry.second + QLatin1Char('\n')).toUtf8());
    out.commit();
}

ConfigValueBase::ConfigValueBase(const QString& key, const QVariant& defaultValue)
    : mKey(key)
    , mDefault(defaultValue)
{
}

ConfigValueBase::~ConfigValueBase() = default;

QVariant ConfigValueBase::stored() const
{
    QVariant v = ConfigStore::read(mKey);
    if (!v.isValid())
        return mDefault;
    if (mDefault.type() == QVariant::Bool) {
        const QString text = v.toString().trimmed().toLower();
        if (text == "true" || text == "1" || text == "on" || text == "yes")
            return true;
        if (text == "false" || text == "0" || text == "off" || text == "no")
            return false;
        return mDefault;
    }
    if (mDefault.type() == QVariant::String)
        return v;
    if (!v.convert(int(mDefault.type())))
        return mDefault;
    return v;
}
