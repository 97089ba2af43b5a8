#pragma once

#include "core/DataValue.h"

#include <QPointer>

// What a control bound to a data value needs of it: a consistent reading, the two ways of
// writing it, and word of every change. Every bound control uses one of these, so all of them
// follow the same locking and pending-request rules. Without a value the control works free.
class ORVANE_EXPORT DataValueBinding : public QObject {
    Q_OBJECT
public:
    // Value, validity and pending request, read together under the value's lock.
    struct Reading {
        bool valid = false;
        QVariant value;
        bool pending = false;
        QVariant pendingValue;
        // What a control shows: the request while one is pending, else the value.
        QVariant shown() const { return pending ? pendingValue : value; }
    };

    // Calls receiver's slot (a SLOT() text) on every change of value, and at once with callNow.
    // False, with an assertion logged, when any is missing or the receiver has no such slot.
    static bool connectSlot(DataValue* value, QObject* receiver, const char* slot, bool callNow);

    // `owner` names the control in log lines; the binding does not take ownership of anything.
    explicit DataValueBinding(const QObject* owner);

    // Follows `value` from now on (null: works free) and emits changed() once so the owner
    // shows it at once.
    void bind(DataValue* value);
    // The same by registry name; an unknown name is logged and leaves the owner free.
    bool bind(const QString& name);

    DataValue* value() const { return mValue; }
    bool isBound() const { return !mValue.isNull(); }
    QString name() const;
    Reading read() const;

    enum class WriteMode {
        Direct,  // set the value now, as the UI's own setting
        Request, // ask the car: the request stays pending until the car takes or refuses it
    };
    // False when free. A request follows DataValue::requestNoLock.
    bool write(const QVariant& value, WriteMode mode);

signals:
    // The bound value changed (value, validity or pending request), or another was bound.
    void changed();

private:
    const QObject* mOwner;
    QPointer<DataValue> mValue;
};
