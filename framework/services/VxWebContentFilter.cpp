#include "services/VxWebContentFilter.h"

#include "core/DataValues.h"

VxWebContentFilter* VxWebContentFilter::instance()
{
    static VxWebContentFilter filter;
    return &filter;
}

QString VxWebContentFilter::product() const
{
    DataValue::ConditionalLocker locker(VAPI_carType);
    if (!VAPI_carType.isValid() || VAPI_carType.value() <= 0)
        return QStringLiteral("unknown");
    return QStringLiteral("model%1").arg(VAPI_carType.value());
}

QString VxWebContentFilter::country() const
{
    QString locale;
    {
        DataValue::ConditionalLocker locker(GUI_locale);
        locale = GUI_locale.value();
    }
    const int separator = locale.indexOf(QLatin1Char('_'));
    return separator < 0 || separator + 1 >= locale.size() ? QStringLiteral("US") : locale.mid(separator + 1);
}
