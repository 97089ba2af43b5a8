#include "core/DataValueBinding.h"

#include "core/DataValue.h"
#include "core/Logger.h"

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
