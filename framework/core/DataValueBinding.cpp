#include "core/DataValueBinding.h"

#include "core/DataValue.h"
#include "core/Logger.h"

#include <QMetaMethod>

DataValueBinding::DataValueBinding(const QObject* owner)
    : mOwner(owner)
{
}

void DataValueBinding::bind(DataValue* value)
{
    if (mValue)
        disconnect(mValue, nullptr, this, nullptr);
    mValue = value;
    if (mValue)
        connect(mValue, &DataValue::changed, this, &DataValueBinding::changed);
    emit changed();
}

bool DataValueBinding::bind(const QString& name)
{
    DataValue* value = DataValueRegistry::find(name);
    if (!value)
        Logger(mOwner, "ERROR") << "unknown data value" << name << "- the control works unbound";
    bind(value);
    return value != nullptr;
}

QString DataValueBinding::name() const
{
    return mValue ? mValue->name() : QString();
}

DataValueBinding::Reading DataValueBinding::read() const
{
    Reading r;
    if (!mValue)
        return r;
    DataValue::ConditionalLocker lock(*mValue);
    r.valid = mValue->isValid();
    r.value = mValue->variant();
    r.pending = mValue->hasPending();
    if (r.pending)
        r.pendingValue = mValue->pendingVariant();
    return r;
}

bool DataValueBinding::write(const QVariant& value, WriteMode mode)
{
    if (!mValue)
        return false;
    DataValue::EventLocker lock(*mValue);
    if (mode == WriteMode::Direct) {
        mValue->setVariantNoLock(value);
        return true;
    }
    mValue->requestNoLock(value);
    return true;
}

bool DataValueBinding::connectSlot(DataValue* value, QObject* receiver, const char* slot, bool callNow)
{
    if (!value || !receiver || !slot) {
        Logger::logAssert("value && receiver && slot", QStringLiteral("connectSlot needs a data value, a receiver and a slot"),
                          __FILE__, __LINE__);
        return false;
    }
    // SLOT() texts start with a code digit and end with the argument list.
    const QByteArray signature = QMetaObject::normalizedSignature(slot + 1);
    const int index = receiver->metaObject()->indexOfMethod(signature.constData());
    if (index < 0) {
        Logger::logAssert("index >= 0",
                          QStringLiteral("%1 has no slot %2 for data value %3")
                              .arg(QString::fromLatin1(receiver->metaObject()->className()), QString::fromLatin1(signature),
                                   value->name()),
                          __FILE__, __LINE__);
        return false;
    }
    connect(value, SIGNAL(changed()), receiver, slot);
    if (callNow)
        receiver->metaObject()->method(index).invoke(receiver, Qt::DirectConnection);
    return true;
}
