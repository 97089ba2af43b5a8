#include "core/ConfigValue.h"

#include "core/Logger.h"
#include "core/AtomicFile.h"

#include <QFile>
#include <QHash>
#include <QMutex>

#include <sys/stat.h>
#include <time.h>

namespace {

// What a file looked like when it was read; the same stamp means the same content, except
// for a file changed within the file system's timestamp granularity of being read.
struct FileStamp {
    dev_t device = 0;
    ino_t inode = 0;
    off_t size = -1;
    timespec modified{};
    bool operator==(const FileStamp& o) const
    {
        return device == o.device && inode == o.inode && size == o.size && modified.tv_sec == o.modified.tv_sec
            && modified.tv_nsec == o.modified.tv_nsec;
    }
};

bool stampOf(const QString& path, FileStamp* stamp)
{
    struct stat st;
    if (::stat(QFile::encodeName(path).constData(), &st) != 0)
        return false;
    *stamp = {st.st_dev, st.st_ino, st.st_size, st.st_mtim};
    return true;
}

struct Store {
    QMutex mutex;
    QString path;
    bool cached = false;
    FileStamp stamp;
    timespec readAt{};
    QHash<QString, QString> values;
};

Store& store()
{
    static Store instance;
    return instance;
}

// Re-reads the file when it may have changed since the last read. Runs under the store's mutex.
void refreshLocked(Store& s)
{
    FileStamp now;
    if (!stampOf(s.path, &now)) {
        s.cached = false;
        s.values.clear();
        return;
    }
    // Timestamps are coarse: a file written less than a second before it was read may have
    // changed again since without its stamp showing it, so such a read is not trusted.
    const bool settled = s.readAt.tv_sec - now.modified.tv_sec > 1;
    if (s.cached && now == s.stamp && settled)
        return;
    timespec readAt;
    clock_gettime(CLOCK_REALTIME, &readAt);
    QList<QPair<QString, QString>> entries;
    QString error;
    // A line nothing can read costs its own value only.
    if (!ConfigStore::parse(s.path, &entries, &error) && !(s.cached && now == s.stamp))
        Logger(nullptr, "WARN") << "Configuration:" << error << "- that line is skipped";
    s.values.clear();
    for (const auto& entry : qAsConst(entries))
        s.values.insert(entry.first, entry.second); // the last one wins, as in any INI reader
    s.cached = true;
    s.stamp = now;
    s.readAt = readAt;
}

// The section a line opens ("" for [General]), or a null string when it opens none.
QString sectionOf(const QString& trimmed)
{
    if (!trimmed.startsWith(QLatin1Char('[')) || !trimmed.endsWith(QLatin1Char(']')))
        return QString();
    const QString section = trimmed.mid(1, trimmed.size() - 2).trimmed();
    return section.compare(QLatin1String("General"), Qt::CaseInsensitive) == 0 ? QStringLiteral("") : section;
}

// A value is written as it is unless it would not read back the same (a line break, blanks at
// either end, a leading quote): then in quotes, with \\, \", \n and \r for those characters.
QString encodeValue(const QString& text)
{
    if (!text.contains(QLatin1Char('\n')) && !text.contains(QLatin1Char('\r')) && text == text.trimmed()
        && !text.startsWith(QLatin1Char('"')))
        return text;
    QString out = QStringLiteral("\"");
    for (const QChar c : text) {
        if (c == QLatin1Char('\\') || c == QLatin1Char('"'))
            out += QLatin1Char('\\') + c;
        else if (c == QLatin1Char('\n'))
            out += QLatin1String("\\n");
        else if (c == QLatin1Char('\r'))
            out += QLatin1String("\\r");
        else
            out += c;
    }
    return out + QLatin1Char('"');
}

// A trimmed value as read: verbatim, or the text inside one pair of quotes with those escapes
// undone (any other backslash stays, so quoted paths read as they always did).
QString decodeValue(const QString& raw)
{
    if (raw.size() < 2 || !raw.startsWith(QLatin1Char('"')) || !raw.endsWith(QLatin1Char('"')))
        return raw;
    const QString inner = raw.mid(1, raw.size() - 2);
    QString out;
    out.reserve(inner.size());
    for (int i = 0; i < inner.size(); ++i) {
        const QChar next = i + 1 < inner.size() ? inner[i + 1] : QChar();
        if (inner[i] == QLatin1Char('\\') && QStringLiteral("\\\"nr").contains(next) && !next.isNull()) {
            out += next == QLatin1Char('n') ? QChar('\n') : next == QLatin1Char('r') ? QChar('\r') : next;
            ++i;
        } else {
            out += inner[i];
        }
    }
    return out;
}

// The file's lines as they are on disk, each with its line ending.
QList<QByteArray> rawLines(const QByteArray& content)
{
    QList<QByteArray> lines;
    for (int start = 0; start < content.size();) {
        const int newline = content.indexOf('\n', start);
        const int end = newline < 0 ? content.size() : newline + 1;
        lines.append(content.mid(start, end - start));
        start = end;
    }
    return lines;
}

} // namespace

void ConfigStore::setPath(const QString& path)
{
    if (!path.isEmpty())
        AtomicFile::removeLeftovers(path);
    QMutexLocker lock(&store().mutex);
    store().path = path;
    store().cached = false;
}

QString ConfigStore::path()
{
    QMutexLocker lock(&store().mutex);
    return store().path;
}

bool ConfigStore::parse(const QString& path, QList<QPair<QString, QString>>* entries, QString* error)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        if (error)
            *error = QStringLiteral("cannot read configuration file %1: %2").arg(path, file.errorString());
        return false;
    }
    QString section;
    int number = 0;
    bool wellFormed = true;
    for (const QByteArray& raw : rawLines(file.readAll())) {
        const QString line = QString::fromUtf8(raw).trimmed();
        ++number;
        if (line.isEmpty() || line.startsWith(QLatin1Char(';')) || line.startsWith(QLatin1Char('#')))
            continue;
        const QString opened = sectionOf(line);
        if (!opened.isNull()) {
            section = opened;
            continue;
        }
        const int eq = line.indexOf(QLatin1Char('='));
        const QString name = eq > 0 ? line.left(eq).trimmed() : QString();
        if (name.isEmpty()) {
            if (error && wellFormed)
                *error = QStringLiteral("%1:%2: expected [section], key=value or a comment, found '%3'")
                             .arg(path).arg(number).arg(line);
            wellFormed = false;
            continue;
        }
        entries->append({section.isEmpty() ? name : section + QLatin1Char('/') + name,
                         decodeValue(line.mid(eq + 1).trimmed())});
    }
    return wellFormed;
}

bool ConfigStore::check(const QString& path, QString* error)
{
    QList<QPair<QString, QString>> entries;
    return parse(path, &entries, error);
}

QVariant ConfigStore::read(const QString& key)
{
    Store& s = store();
    QMutexLocker lock(&s.mutex);
    if (s.path.isEmpty())
        return QVariant();
    refreshLocked(s);
    const auto found = s.values.constFind(key);
    return found == s.values.constEnd() ? QVariant() : QVariant(*found);
}

bool ConfigStore::write(const QString& key, const QVariant& value)
{
    Store& s = store();
    QMutexLocker lock(&s.mutex);
    if (s.path.isEmpty()) {
        Logger(nullptr, "ERROR") << "Configuration value" << key << "not written: no configuration store";
        return false;
    }
    // Every line but the key's own stays byte for byte, comments, line endings and lines that
    // are not UTF-8 or not readable at all included.
    QList<QByteArray> lines;
    QFile in(s.path);
    if (in.exists()) {
        if (!in.open(QIODevice::ReadOnly)) {
            Logger(nullptr, "ERROR") << "Configuration value" << key << "not written:" << s.path << in.errorString();
            return false;
        }
        lines = rawLines(in.readAll());
    }
    const QByteArray newline = !lines.isEmpty() && lines.first().endsWith("\r\n") ? "\r\n" : "\n";
    const QString text = encodeValue(value.toString());
    QString section;
    bool replaced = false;
    for (QByteArray& line : lines) {
        const QString trimmed = QString::fromUtf8(line).trimmed();
        const QString opened = sectionOf(trimmed);
        if (!opened.isNull()) {
            section = opened;
            continue;
        }
        const int eq = trimmed.indexOf(QLatin1Char('='));
        if (eq <= 0 || trimmed.startsWith(QLatin1Char(';')) || trimmed.startsWith(QLatin1Char('#')))
            continue;
        const QString name = trimmed.left(eq).trimmed();
        if ((section.isEmpty() ? name : section + QLatin1Char('/') + name) == key) {
            const QByteArray ending = line.endsWith("\r\n") ? "\r\n" : line.endsWith('\n') ? "\n" : "";
            line = (name + QLatin1Char('=') + text).toUtf8() + ending;
            replaced = true;
        }
    }
    if (!replaced) {
        if (!lines.isEmpty() && !lines.last().endsWith('\n'))
            lines.last() += newline;
        // Keys stay flat ("area/name=value"): that reads back the same and keeps blanks intact.
        if (!section.isEmpty())
            lines.append("[General]" + newline);
        lines.append((key + QLatin1Char('=') + text).toUtf8() + newline);
    }
    QString error;
    if (!AtomicFile::replace(s.path, lines.join(), &error)) {
        Logger(nullptr, "ERROR") << "Configuration value" << key << "not written:" << s.path << error;
        return false;
    }
    s.cached = false;
    return true;
}

ConfigValueBase::ConfigValueBase(const QString& key, const QVariant& defaultValue)
    : mKey(key)
    , mDefault(defaultValue)
{
}

ConfigValueBase::~ConfigValueBase() = default;

namespace {
struct HostDefaults {
    QMutex mutex;
    QHash<QString, QVariant> values;
};

HostDefaults& hostDefaults()
{
    static HostDefaults instance;
    return instance;
}
} // namespace

void ConfigHostDefaults::set(const QString& key, const QVariant& value)
{
    HostDefaults& d = hostDefaults();
    QMutexLocker lock(&d.mutex);
    d.values.insert(key, value);
}

QVariant ConfigHostDefaults::value(const QString& key)
{
    HostDefaults& d = hostDefaults();
    QMutexLocker lock(&d.mutex);
    return d.values.value(key);
}

QVariant ConfigValueBase::stored() const
{
    QVariant v = ConfigStore::read(mKey);
    if (!v.isValid())
        v = ConfigHostDefaults::value(mKey);
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
