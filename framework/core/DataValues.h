#pragma once

// The host's data values. Later features declare theirs here too, so the bench host and the
// scripts find every value by name.

#include "core/DataValue.h"

// UI modes and settings
extern ORVANE_EXPORT BoolDataValue GUI_developerMode;
extern ORVANE_EXPORT BoolDataValue GUI_diagnosticMode;
extern ORVANE_EXPORT BoolDataValue GUI_factoryMode;
extern ORVANE_EXPORT BoolDataValue GUI_serviceMode;
extern ORVANE_EXPORT BoolDataValue GUI_transportMode;
extern ORVANE_EXPORT IntDataValue GUI_language;   // a QLocale::Language number; 31 is English
extern ORVANE_EXPORT StringDataValue GUI_locale; // the locale text, "en_US"
extern ORVANE_EXPORT BoolDataValue GUI_isDevelopmentCar;
extern ORVANE_EXPORT BoolDataValue GUI_trialCar;         // a test-drive car of the showroom
extern ORVANE_EXPORT MapDataValue GUI_featureConfig;     // the car's build options; "delivered" (bool)
extern ORVANE_EXPORT BoolDataValue GUI_logLocationData;
extern ORVANE_EXPORT BoolDataValue GUI_logPrivateData;   // URLs and locations may go to the log
extern ORVANE_EXPORT BoolDataValue GUI_dayMode;          // the UI's day (light) theme
extern ORVANE_EXPORT BoolDataValue GUI_allReady;         // the UI has finished starting up
extern ORVANE_EXPORT BoolDataValue GUI_neverSleep;
extern ORVANE_EXPORT BoolDataValue GUI_tapAnimation;
extern ORVANE_EXPORT IntDataValue GUI_eggWotMode;        // wide-open-throttle UI: 0 ON, 1 PREP, 2 OFF

// Vehicle requests
extern ORVANE_EXPORT BoolDataValue GUI_enableSpeedLimitRequest;
extern ORVANE_EXPORT RealDataValue GUI_speedLimitRequest;         // top speed, in the UI's speed unit
extern ORVANE_EXPORT BoolDataValue GUI_parkAssistOnRequest;
extern ORVANE_EXPORT IntDataValue GUI_spoilerRequest;             // 0 Vision, 1 Aero, 2 Retract, 3 Auto
extern ORVANE_EXPORT IntDataValue GUI_espModeRequest;             // a row of EspModeRequestNameMap
extern ORVANE_EXPORT IntDataValue GUI_tractionControlModeRequest; // a row of TractionControlModeRequestNameMap
extern ORVANE_EXPORT IntDataValue GUI_dragStripModeRequest;       // a row of DragStripModeNameMap
extern ORVANE_EXPORT IntDataValue GUI_motorMode;                  // 0 rear, 1 front, 2 both
extern ORVANE_EXPORT BoolDataValue GUI_powerOffRailsRequest;
extern ORVANE_EXPORT BoolDataValue GUI_stopRailsAnd12VSupportRequest;
extern ORVANE_EXPORT BoolDataValue GUI_seatInstallRequest;
extern ORVANE_EXPORT BoolDataValue GUI_spoilerCalibrationRequest;
extern ORVANE_EXPORT BoolDataValue GUI_transportModeSleepTestRequest;
extern ORVANE_EXPORT BoolDataValue GUI_factoryModeLimitOverride;
extern ORVANE_EXPORT IntDataValue GUI_powerLimitRequest;  // kW; 31 is no limit
extern ORVANE_EXPORT IntDataValue GUI_torqueLimitRequest; // Nm; 63 is no limit
extern ORVANE_EXPORT BoolDataValue GUI_factoryKestro;      // drive to the next factory target
extern ORVANE_EXPORT IntDataValue GUI_factoryKestroHeartbeat;

// Vehicle facts
extern ORVANE_EXPORT IntDataValue VAPI_gear;           // 0 unknown, 1 P, 2 R, 3 N, 4 D
extern ORVANE_EXPORT IntDataValue VAPI_carType;       // the car line, 1 to 3
extern ORVANE_EXPORT BoolDataValue VAPI_driveRailOn;
extern ORVANE_EXPORT BoolDataValue VAPI_towModeEnabled;
extern ORVANE_EXPORT BoolDataValue VAPI_hasParkAssist;
extern ORVANE_EXPORT BoolDataValue VAPI_esp2;
extern ORVANE_EXPORT BoolDataValue VAPI_velocorCapable;
extern ORVANE_EXPORT BoolDataValue VAPI_hasActiveSpoiler;
extern ORVANE_EXPORT BoolDataValue VAPI_fourWheelDrive;
extern ORVANE_EXPORT RealDataValue VAPI_vehicleSpeed;       // km/h
extern ORVANE_EXPORT RealDataValue VAPI_stateOfCharge;      // % of the high-voltage battery
extern ORVANE_EXPORT RealDataValue VAPI_battery12V;         // V
extern ORVANE_EXPORT RealDataValue VAPI_batteryTemperature; // °C, high-voltage battery
extern ORVANE_EXPORT RealDataValue VAPI_cabinTemperature;   // °C
extern ORVANE_EXPORT RealDataValue VAPI_outsideTemperature; // °C

// Navigation settings and requests
extern ORVANE_EXPORT BoolDataValue GUI_logMapTouches;
extern ORVANE_EXPORT BoolDataValue GUI_reloadMapOnConnectivity;
extern ORVANE_EXPORT BoolDataValue GUI_noSearchWarning;
extern ORVANE_EXPORT BoolDataValue GUI_smoothGPSUpdates;
extern ORVANE_EXPORT BoolDataValue GUI_sortPlaceResultsByDistance;
extern ORVANE_EXPORT BoolDataValue GUI_enableTraffic;
extern ORVANE_EXPORT BoolDataValue GUI_adasCurvatureLog;
extern ORVANE_EXPORT BoolDataValue GUI_shouldRecommendHome; // offer to learn the home place
extern ORVANE_EXPORT BoolDataValue GUI_shouldRecommendWork; // offer to learn the work place

// Driver assistance
// Driving to the factory target: 1 driving, 2 ready, 3 no QR code, 4 too far, 5 no GPS,
// 6 no speed, 7 no heading, 8 last instruction done; anything else not available.
extern ORVANE_EXPORT IntDataValue DAS_factoryKestroStatus;

// Connectivity
extern ORVANE_EXPORT IntDataValue LINK_linkState; // 0 none, 1 cellular, 2 Wi-Fi

// Location
extern ORVANE_EXPORT RealDataValue LOC_estimatedLat;          // degrees
extern ORVANE_EXPORT RealDataValue LOC_estimatedLon;          // degrees
extern ORVANE_EXPORT RealDataValue LOC_geoAccuracy;           // metres
extern ORVANE_EXPORT RealDataValue LOC_estimatedGeoTimestamp; // ms since the epoch
