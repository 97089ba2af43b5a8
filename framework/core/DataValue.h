#pragma once

#include "OrvaneExport.h"

#include <QObject>
#include <QVariant>

#include <atomic>
#include <memory>

// A named, typed, observable vehicle-state or request slot. Each value is a global object and
// is also listed in DataValueRegistry. Readers and writers on any thread take the value's own
// lock; observers are told on the value's (UI) thread.
class QJsonObject;
class QRecursiveMutex;

class ORVANE_EXPORT DataValue : public QObject {
    Q_OBJECT
public:
    enum class Type { Bool, Int, Real, String, Map };

    // Protected values may only be written through setProtectedValue: they carry requests a
    // stray binding must never send to the car.
    DataValue(const char* name, Type type, const QVariant& initial, bool valid = true, bool isProtected = false);
    ~DataValue() override;

    QString name() const;
    Type type() const;
    static QString typeName(Type type);
    bool isProtected() const;

    // Reads; callers hold a ConditionalLocker when value and validity must agree.
    QVariant variant() const;
    bool isValid() const;
    bool hasPending() const;
    QVariant pendingVariant() const;

    // Writes under a held lock (EventLocker): observers are told when that locker ends.
    void setVariantNoLock(const QVariant& value);
    void setValidNoLock(bool valid);
    void setPendingValidNoLock(const QVariant& request);
    void revertPendingNoLock();
    // The car took the request: the pending value becomes the value.
    void acceptPendingNoLock();
    // Asks the car for a value: it waits as the pending value until the car takes it. Asking
    // for what the value already is withdraws a pending change instead, so pressing twice
    // never leaves a stale request behind.
    void requestNoLock(const QVariant& request);

    // Whole writes that take the lock themselves.
    void setVariant(const QVariant& value);
    void setProtectedValue(const QVariant& value);
    void request(const QVariant& request);

    // Text forms for the bench host and scripts ("true", "42", "2.5", "text", JSON object).
    bool setFromString(const QString& text, QString* error = nullptr);
    // Reads a text form into this value's type without setting anything.
    bool parseString(const QString& text, QVariant* out, QString* error = nullptr) const;
    // A value of this type in text form; with validity and pending state for display.
    QString textOf(const QVariant& value) const;
    // The value in the form setFromString reads.
    QString toValueString() const;
    // The value with its state: "85", "85 (invalid)", "85 → 90 (pending)".
    QString toDisplayString() const;
    // Name, type, value, validity, the pending request and the display text, read under the
    // value's lock: what a dump or the service endpoint shows of it.
    QJsonObject toJson() const;

    // From now on every change is logged at INFO with the value's state, for values whose
    // history a technician needs afterwards. Asking again changes nothing.
    void startLogging();

    // Locks unless this thread already holds the lock, so nested readers never deadlock.
    class ORVANE_EXPORT ConditionalLocker {
    public:
        explicit ConditionalLocker(const DataValue& value);
        explicit ConditionalLocker(const DataValue* value) : ConditionalLocker(*value) {}
        ~ConditionalLocker();
        ConditionalLocker(const ConditionalLocker&) = delete;
        ConditionalLocker& operator=(const ConditionalLocker&) = delete;

    private:
        QRecursiveMutex& mMutex;
    };

    // Holds the lock for a group of NoLock writes; changes are announced once, after unlocking.
    class ORVANE_EXPORT EventLocker {
    public:
        explicit EventLocker(DataValue& value);
        explicit EventLocker(DataValue* value) : EventLocker(*value) {}
        ~EventLocker();
        EventLocker(const EventLocker&) = delete;
        EventLocker& operator=(const EventLocker&) = delete;

    private:
        DataValue& mValue;
    };

signals:
    // Value, validity or pending state changed. Always delivered on the value's thread.
    void changed();

private slots:
    void logChange();

private:
    void markChangedNoLock();
    void assignNoLock(const QVariant& value);
    void announce();
    // The value in this value's type (a default of that type when it does not convert).
    QVariant convert(const QVariant& in) const;

    struct Private;
    std::unique_ptr<Private> d;
};

template <typename T, DataValue::Type TypeTag>
class TypedDataValue : public DataValue {
public:
    TypedDataValue(const char* name, const T& initial = T(), bool valid = true, bool isProtected = false)
        : DataValue(name, TypeTag, QVariant::fromValue(initial), valid, isProtected)
    {
    }
    T value() const { return variant().template value<T>(); }
    T pendingValue() const { return pendingVariant().template value<T>(); }
    void setValueNoLock(const T& value) { setVariantNoLock(QVariant::fromValue(value)); }
    void setPendingValidNoLock(const T& request) { DataValue::setPendingValidNoLock(QVariant::fromValue(request)); }
    void setValue(const T& value) { setVariant(QVariant::fromValue(value)); }
};

using BoolDataValue = TypedDataValue<bool, DataValue::Type::Bool>;
using IntDataValue = TypedDataValue<int, DataValue::Type::Int>;
using RealDataValue = TypedDataValue<double, DataValue::Type::Real>;
using StringDataValue = TypedDataValue<QString, DataValue::Type::String>;
using MapDataValue = TypedDataValue<QVariantMap, DataValue::Type::Map>;

// Every data value by name, in declaration order.
class ORVANE_EXPORT DataValueRegistry {
public:
    static DataValue* find(const QString& name);
    static QList<DataValue*> all();

private:
    friend class DataValue;
    static void add(DataValue* value);
    static void remove(DataValue* value);
};

// Every change of any data value, counted, and told on that value's thread after its own
// observers: for readers of all values at once (the service endpoint), who learn from the
// count whether anything changed since they last read, and wait for the signal otherwise.
class ORVANE_EXPORT DataValueChanges : public QObject {
    Q_OBJECT
public:
    static DataValueChanges* instance();
    // Read before reading the values: a change made meanwhile then shows as a later count.
    quint64 count() const { return mCount.load(); }

signals:
    void changed();

private:
    friend class DataValue;
    DataValueChanges() = default;
    void note();

    std::atomic<quint64> mCount{0};
};
