#include "services/VxWebAPI.h"

#include "core/DataValues.h"

#include <QJsonDocument>
#include <QJsonObject>

QString VxWebAPI::featureJson()
{
    QVariantMap features;
    {
        DataValue::ConditionalLocker locker(GUI_featureConfig);
        features = GUI_featureConfig.value();
    }
    return QString::fromUtf8(QJsonDocument(QJsonObject::fromVariantMap(features)).toJson(QJsonDocument::Compact));
}
