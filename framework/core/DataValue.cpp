#include "core/DataValue.h"

#include "core/Logger.h"

#include <QHash>
#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonValue>
#include <QMutex>
#include <QThread>

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
    : mName(QString::fromLatin1(name))
    , mType(type)
    , mProtected(isProtected)
    , mValid(valid)
{
    setObjectName(mName);
    mValue = convert(initial);
    DataValueRegistry::add(this);
}

DataValue::~DataValue()
{
    DataValueRegistry::remove(this);
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
    return mValue;
}

bool DataValue::isValid() const
{
    ConditionalLocker lock(*this);
    return mValid;
}

bool DataValue::hasPending() const
{
    ConditionalLocker lock(*this);
    return mHasPending;
}

QVariant DataValue::pendingVariant() const
{
    ConditionalLocker lock(*this);
    return mHasPending ? mPending : mValue;
}

QVariant DataValue::convert(const QVariant& in) const
{
    switch (mType) {
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
    if (mProtected) {
        Logger::logAssert("!isProtected()",
                          QStringLiteral("Protected data value %1 not set with setProtectedValue").arg(mName),
                          __FILE__, __LINE__);
        return;
    }
    assignNoLock(value);
}

void DataValue::assignNoLock(const QVariant& value)
{
    const QVariant converted = convert(value);
    if (converted == mValue && mValid)
        return;
    mValue = converted;
    mValid = true;
    markChangedNoLock();
}

void DataValue::setValidNoLock(bool valid)
{
    if (mValid == valid)
        return;
    mValid = valid;
    markChangedNoLock();
}

void DataValue::setPendingValidNoLock(const QVariant& request)
{
    const QVariant converted = convert(request);
    if (mHasPending && converted == mPending)
        return;
    mPending = converted;
    mHasPending = true;
    markChangedNoLock();
}

void DataValue::revertPendingNoLock()
{
    if (!mHasPending)
        return;
    mHasPending = false;
    mPending = QVariant();
    markChangedNoLock();
}

void DataValue::requestNoLock(const QVariant& request)
{
    // Compared in the value's own type, so an int request for a bool value still matches.
    if (mValid && convert(request) == mValue)
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
    if (!mHasPending)
        return;
    mHasPending = false;
    if (mPending != mValue || !mValid) {
        mValue = mPending;
        mValid = true;
    }
    mPending = QVariant();
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
    if (mProtected)
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
    switch (mType) {
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
                         .arg(text, withArticle(typeName(mType)), mName, expectedText(mType));
        return false;
    }
    *out = parsed;
    return true;
}

QString DataValue::textOf(const QVariant& value) const
{
    switch (mType) {
    case Type::Bool: return value.toBool() ? QStringLiteral("true") : QStringLiteral("false");
    case Type::Map:
        return QString::fromUtf8(QJsonDocument(QJsonObject::fromVariantMap(value.toMap())).toJson(QJsonDocument::Compact));
    default: return value.toString();
    }
}

QString DataValue::toValueString() const
{
    ConditionalLocker lock(*this);
    return textOf(mValue);
}

QString DataValue::toDisplayString() const
{
    ConditionalLocker lock(*this);
    QString text = textOf(mValue);
    if (!mValid)
        text += QStringLiteral(" (invalid)");
    if (mHasPending)
        text += QStringLiteral(" \u2192 %1 (pending)").arg(textOf(mPending));
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
    if (mEventLockDepth == 0)
        announce();
    else
        mChangedSinceLock = true;
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
    : mMutex(value.mMutex)
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
    mValue.mMutex.lock();
    ++mValue.mEventLockDepth;
}

DataValue::EventLocker::~EventLocker()
{
    const bool outermost = --mValue.mEventLockDepth == 0;
    const bool changed = outermost && mValue.mChangedSinceLock;
    if (outermost)
        mValue.mChangedSinceLock = false;
    mValue.mMutex.unlock();
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
