#include "core/DataValues.h"

#include <QLocale>

BoolDataValue GUI_developerMode("GUI_developerMode", false);
BoolDataValue GUI_diagnosticMode("GUI_diagnosticMode", false);
BoolDataValue GUI_factoryMode("GUI_factoryMode", false);
BoolDataValue GUI_serviceMode("GUI_serviceMode", false);
IntDataValue GUI_language("GUI_language", int(QLocale::English));
StringDataValue GUI_locale("GUI_locale", QStringLiteral("en_US"));

IntDataValue VAPI_gear("VAPI_gear", 1);
IntDataValue VAPI_carType("VAPI_carType", 1);
