#pragma once

#include "OrvaneExport.h"

#include <QByteArray>
#include <QVariant>

namespace VxJson {

// JSON text (RFC 8259) to variants: objects become QVariantMap (a repeated key keeps its last
// value), arrays QVariantList, strings QString, numbers double, null an invalid QVariant. The
// text must be an object or an array; nesting deeper than 1024 is refused.
class ORVANE_EXPORT Parser {
public:
    // An invalid variant and *ok false when the text is not JSON. A caller that reports the
    // failure in its own words passes logErrors false; otherwise the position and the reason
    // are logged.
    static QVariant parse(const QByteArray& json, bool* ok, bool logErrors = true);
};

} // namespace VxJson
