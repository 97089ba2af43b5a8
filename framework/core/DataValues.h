#pragma once

// The host's data values. Later features declare theirs here too, so the bench host and the
// scripts find every value by name.

#include "core/DataValue.h"

// UI modes and settings
extern ORVANE_EXPORT BoolDataValue GUI_developerMode;
extern ORVANE_EXPORT BoolDataValue GUI_diagnosticMode;
extern ORVANE_EXPORT BoolDataValue GUI_factoryMode;
extern ORVANE_EXPORT BoolDataValue GUI_serviceMode;
extern ORVANE_EXPORT IntDataValue GUI_language;   // a QLocale::Language number; 31 is English
extern ORVANE_EXPORT StringDataValue GUI_locale; // the locale text, "en_US"

// Vehicle facts
extern ORVANE_EXPORT IntDataValue VAPI_gear;           // 0 unknown, 1 P, 2 R, 3 N, 4 D
extern ORVANE_EXPORT IntDataValue VAPI_carType;       // the car line, 1 to 3
