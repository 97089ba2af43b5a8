#include "services/VxJson.h"

#include "core/Logger.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace VxJson {

QVariant Parser::parse(const QByteArray& json, bool* ok, bool logErrors)
{
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(json, &error);
    const bool parsed = error.error == QJsonParseError::NoError && !document.isNull();
    if (ok)
        *ok = parsed;
    if (!parsed) {
        if (logErrors)
            Logger(nullptr, "WARN") << "JSON text not read at offset" << error.offset << ":" << error.errorString();
        return QVariant();
    }
    return document.isObject() ? QVariant(document.object().toVariantMap()) : QVariant(document.array().toVariantList());
}

} // namespace VxJson
