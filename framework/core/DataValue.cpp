#include "core/DataValue.h"

#include "core/Logger.h"

#include <QHash>
#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonValue>
#include <QMutex>
#include <QThread>

struct DataValue::Private {
    Private(const char* name, Type type, bool valid, bool isProtected)
        : name(QString::fromLatin1(name))
        , type(type)
        , isProtected(isProtected)
        , valid(valid)
    {
    }

    const QString name;
    const Type type;
    const bool isProtected;
    mutable QRecursiveMutex mutex;
    QVariant value;
    QVariant pending;
    bool valid;
    bool hasPending = false;
    bool changedSinceLock = false;
    int eventLockDepth = 0;
};

namespace {

struct Registry {
    QMutex mutex;
    QHash<QString, DataValue*> byName;
    QList<DataValue*> ordered;
};

Registry& registry()
{
    static Registry instance;
    return instance;
}

QString withArticle(const QString& noun)
{
    const bool vowel = !noun.isEmpty() && QStringLiteral("aeiou").contains(noun.front());
    return (vowel ? QStringLiteral("an ") : QStringLiteral("a ")) + noun;
}

// What setFromString reads for a type, for the message when it cannot.
QString expectedText(DataValue::Type type)
{
    switch (type) {
    case DataValue::Type::Bool: return QStringLiteral("true or false (on/off, yes/no, 1/0)");
    case DataValue::Type::Int: return QStringLiteral("a whole number (decimal, or hex with 0x)");
    case DataValue::Type::Real: return QStringLiteral("a number");
    case DataValue::Type::String: return QStringLiteral("any text");
    case DataValue::Type::Map: return QStringLiteral("a JSON object");
    }
    return QString();
}

} // namespace

DataValue::DataValue(const char* name, Type type, const QVariant& initial, bool valid, bool isProtected)
    : d(std::make_unique<Private>(name, type, valid, isProtected))
{
    setObjectName(d->name);
    d->value = convert(initial);
    DataValueRegistry::add(this);
}

DataValue::~DataValue()
{
    DataValueRegistry::remove(this);
}

QString DataValue::name() const
{
    return d->name;
}

DataValue::Type DataValue::type() const
{
    return d->type;
}

bool DataValue::isProtected() const
{
    return d->isProtected;
}

QString DataValue::typeName(Type type)
{
    switch (type) {
    case Type::Bool: return QStringLiteral("bool");
    case Type::Int: return QStringLiteral("int");
    case Type::Real: return QStringLiteral("real");
    case Type::String: return QStringLiteral("string");
    case Type::Map: return QStringLiteral("map");
    }
    return QString();
}

QVariant DataValue::variant() const
{
    ConditionalLocker lock(*this);
    return d->value;
}

bool DataValue::isValid() const
{
    ConditionalLocker lock(*this);
    return d->valid;
}

bool DataValue::hasPending() const
{
    ConditionalLocker lock(*this);
    return d->hasPending;
}

QVariant DataValue::pendingVariant() const
{
    ConditionalLocker lock(*this);
    return d->hasPending ? d->pending : d->value;
}

QVariant DataValue::convert(const QVariant& in) const
{
    switch (d->type) {
    case Type::Bool: return in.toBool();
    case Type::Int: return in.toInt();
    case Type::Real: return in.toDouble();
    case Type::String: return in.toString();
    case Type::Map: return in.toMap();
    }
    return QVariant();
}

void DataValue::setVariantNoLock(const QVariant& value)
{
    if (d->isProtected) {
        Logger::logAssert("!isProtected()",
                          QStringLiteral("Protected data value %1 not set with setProtectedValue").arg(d->name),
                          __FILE__, __LINE__);
        return;
    }
    assignNoLock(value);
}

void DataValue::assignNoLock(const QVariant& value)
{
    const QVariant converted = convert(value);
    if (converted == d->value && d->valid)
        return;
    d->value = converted;
    d->valid = true;
    markChangedNoLock();
}

void DataValue::setValidNoLock(bool valid)
{
    if (d->valid == valid)
        return;
    d->valid = valid;
    markChangedNoLock();
}

void DataValue::setPendingValidNoLock(const QVariant& request)
{
    const QVariant converted = convert(request);
    if (d->hasPending && converted == d->pending)
        return;
    d->pending = converted;
    d->hasPending = true;
    markChangedNoLock();
}

void DataValue::revertPendingNoLock()
{
    if (!d->hasPending)
        return;
    d->hasPending = false;
    d->pending = QVariant();
    markChangedNoLock();
}

void DataValue::requestNoLock(const QVariant& request)
{
    // Compared in the value's own type, so an int request for a bool value still matches.
    if (d->valid && convert(request) == d->value)
        revertPendingNoLock();
    else
        setPendingValidNoLock(request);
}

void DataValue::request(const QVariant& request)
{
    EventLocker lock(*this);
    requestNoLock(request);
}

void DataValue::acceptPendingNoLock()
{
    if (!d->hasPending)
        return;
    d->hasPending = false;
    if (d->pending != d->value || !d->valid) {
        d->value = d->pending;
        d->valid = true;
    }
    d->pending = QVariant();
    markChangedNoLock();
}

void DataValue::setVariant(const QVariant& value)
{
    EventLocker lock(*this);
    setVariantNoLock(value);
}

void DataValue::setProtectedValue(const QVariant& value)
{
    EventLocker lock(*this);
    assignNoLock(value);
}

bool DataValue::setFromString(const QString& text, QString* error)
{
    QVariant parsed;
    if (!parseString(text, &parsed, error))
        return false;
    if (d->isProtected)
        setProtectedValue(parsed);
    else
        setVariant(parsed);
    return true;
}

bool DataValue::parseString(const QString& text, QVariant* out, QString* error) const
{
    const QString t = text.trimmed();
    QVariant parsed;
    bool ok = true;
    switch (d->type) {
    case Type::Bool: {
        const QString l = t.toLower();
        if (l == "true" || l == "1" || l == "on" || l == "yes")
            parsed = true;
        else if (l == "false" || l == "0" || l == "off" || l == "no")
            parsed = false;
        else
            ok = false;
        break;
    }
    case Type::Int:
        parsed = t.toInt(&ok, 0);
        break;
    case Type::Real:
        parsed = t.toDouble(&ok);
        break;
    case Type::String:
        parsed = text;
        break;
    case Type::Map: {
        const QJsonDocument doc = QJsonDocument::fromJson(t.toUtf8());
        ok = doc.isObject();
        parsed = doc.object().toVariantMap();
        break;
    }
    }
    if (!ok) {
        if (error)
            *error = QStringLiteral("'%1' is not %2 value for %3: expected %4")
                         .arg(text, withArticle(typeName(d->type)), d->name, expectedText(d->type));
        return false;
    }
    *out = parsed;
    return true;
}

QString DataValue::textOf(const QVariant& value) const
{
    switch (d->type) {
    case Type::Bool: return value.toBool() ? QStringLiteral("true") : QStringLiteral("false");
    case Type::Map:
        return QString::fromUtf8(QJsonDocument(QJsonObject::fromVariantMap(value.toMap())).toJson(QJsonDocument::Compact));
    default: return value.toString();
    }
}

QString DataValue::toValueString() const
{
    ConditionalLocker lock(*this);
    return textOf(d->value);
}

QString DataValue::toDisplayString() const
{
    ConditionalLocker lock(*this);
    QString text = textOf(d->value);
    if (!d->valid)
        text += QStringLiteral(" (invalid)");
    if (d->hasPending)
        text += QStringLiteral(" \u2192 %1 (pending)").arg(textOf(d->pending));
    return text;
}

void DataValue::startLogging()
{
    connect(this, &DataValue::changed, this, &DataValue::logChange, Qt::UniqueConnection);
}

void DataValue::logChange()
{
    Logger(this, "INFO") << "changed:" << toDisplayString();
}

void DataValue::markChangedNoLock()
{
    // A NoLock write outside any EventLocker still has to reach its observers.
    if (d->eventLockDepth == 0)
        announce();
    else
        d->changedSinceLock = true;
}

void DataValue::announce()
{
    const auto tell = [this] {
        emit changed();
        DataValueChanges::instance()->note();
    };
    if (QThread::currentThread() == thread())
        tell();
    else
        QMetaObject::invokeMethod(this, tell, Qt::QueuedConnection);
}

DataValue::ConditionalLocker::ConditionalLocker(const DataValue& value)
    : mMutex(value.d->mutex)
{
    // A recursive mutex is exactly "lock unless this thread already holds it".
    mMutex.lock();
}

DataValue::ConditionalLocker::~ConditionalLocker()
{
    mMutex.unlock();
}

DataValue::EventLocker::EventLocker(DataValue& value)
    : mValue(value)
{
    mValue.d->mutex.lock();
    ++mValue.d->eventLockDepth;
}

DataValue::EventLocker::~EventLocker()
{
    const bool outermost = --mValue.d->eventLockDepth == 0;
    const bool changed = outermost && mValue.d->changedSinceLock;
    if (outermost)
        mValue.d->changedSinceLock = false;
    mValue.d->mutex.unlock();
    if (changed)
        mValue.announce();
}

DataValueChanges* DataValueChanges::instance()
{
    static DataValueChanges* const changes = new DataValueChanges;
    return changes;
}

void DataValueChanges::note()
{
    ++mCount;
    emit changed();
}

DataValue* DataValueRegistry::find(const QString& name)
{
    Registry& r = registry();
    QMutexLocker lock(&r.mutex);
    return r.byName.value(name);
}

QList<DataValue*> DataValueRegistry::all()
{
    Registry& r = registry();
    QMutexLocker lock(&r.mutex);
    return r.ordered;
}

void DataValueRegistry::add(DataValue* value)
{
    Registry& r = registry();
    QMutexLocker lock(&r.mutex);
    if (r.byName.contains(value->name())) {
        // Two owners of one name would each think the other's writes are theirs.
        Logger::logAssert("!byName.contains(name)",
                          QStringLiteral("data value %1 declared twice; the second is not registered").arg(value->name()),
                          __FILE__, __LINE__);
        return;
    }
    r.byName.insert(value->name(), value);
    r.ordered.append(value);
}

void DataValueRegistry::remove(DataValue* value)
{
    Registry& r = registry();
    QMutexLocker lock(&r.mutex);
    if (r.byName.value(value->name()) == value) {
        r.byName.remove(value->name());
        r.ordered.removeAll(value);
    }
}

QJsonObject DataValue::toJson() const
{
    QJsonObject out;
    out.insert(QStringLiteral("name"), name());
    out.insert(QStringLiteral("type"), typeName(type()));
    ConditionalLocker lock(this);
    out.insert(QStringLiteral("value"), QJsonValue::fromVariant(variant()));
    out.insert(QStringLiteral("valid"), isValid());
    out.insert(QStringLiteral("pending"), hasPending());
    if (hasPending())
        out.insert(QStringLiteral("pendingValue"), QJsonValue::fromVariant(pendingVariant()));
    out.insert(QStringLiteral("display"), toDisplayString());
    return out;
}
