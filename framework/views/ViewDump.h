#pragma once

#include "OrvaneExport.h"

#include <QJsonObject>

class DisplayView;

// A view tree as JSON: class, object name, what the view says of itself (label, title, ...),
// geometry in parent and root coordinates, visible (own flag), shown (through its ancestors),
// enabled, and children in paint order.
class ORVANE_EXPORT ViewDump {
public:
    static QJsonObject toJson(const DisplayView* view);
    static bool writeFile(const DisplayView* root, const QString& path, QString* error);
    static bool writeFile(const QJsonObject& dump, const QString& path, QString* error);
};
