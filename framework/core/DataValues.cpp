#include "core/DataValues.h"

BoolDataValue GUI_developerMode("GUI_developerMode", false);
BoolDataValue GUI_diagnosticMode("GUI_diagnosticMode", false);
BoolDataValue GUI_factoryMode("GUI_factoryMode", false);
BoolDataValue GUI_serviceMode("GUI_serviceMode", false);
StringDataValue GUI_language("GUI_language", QStringLiteral("en_US"));

IntDataValue VAPI_gear("VAPI_gear", 1);
StringDataValue VAPI_carType("VAPI_carType", QStringLiteral("ModelA"));
