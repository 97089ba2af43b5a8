#include "core/DataValues.h"

#include <QLocale>

// Initial values are the bench's car: a development car on the desk, in park, with every option.

BoolDataValue GUI_developerMode("GUI_developerMode", false);
BoolDataValue GUI_diagnosticMode("GUI_diagnosticMode", false);
BoolDataValue GUI_factoryMode("GUI_factoryMode", false);
BoolDataValue GUI_serviceMode("GUI_serviceMode", false);
BoolDataValue GUI_transportMode("GUI_transportMode", false);
IntDataValue GUI_language("GUI_language", int(QLocale::English));
StringDataValue GUI_locale("GUI_locale", QStringLiteral("en_US"));
BoolDataValue GUI_isDevelopmentCar("GUI_isDevelopmentCar", true);
BoolDataValue GUI_trialCar("GUI_trialCar", false);
MapDataValue GUI_featureConfig("GUI_featureConfig", QVariantMap{{QStringLiteral("delivered"), false}});
BoolDataValue GUI_logLocationData("GUI_logLocationData", false);
BoolDataValue GUI_logPrivateData("GUI_logPrivateData", false);
BoolDataValue GUI_dayMode("GUI_dayMode", true);
BoolDataValue GUI_allReady("GUI_allReady", false);
BoolDataValue GUI_neverSleep("GUI_neverSleep", false);
BoolDataValue GUI_tapAnimation("GUI_tapAnimation", false);
IntDataValue GUI_eggWotMode("GUI_eggWotMode", 2);

BoolDataValue GUI_enableSpeedLimitRequest("GUI_enableSpeedLimitRequest", false);
RealDataValue GUI_speedLimitRequest("GUI_speedLimitRequest", 85.0);
BoolDataValue GUI_parkAssistOnRequest("GUI_parkAssistOnRequest", true);
IntDataValue GUI_spoilerRequest("GUI_spoilerRequest", 3);
IntDataValue GUI_espModeRequest("GUI_espModeRequest", 0);
IntDataValue GUI_tractionControlModeRequest("GUI_tractionControlModeRequest", 0);
IntDataValue GUI_dragStripModeRequest("GUI_dragStripModeRequest", 0);
IntDataValue GUI_motorMode("GUI_motorMode", 2);
BoolDataValue GUI_powerOffRailsRequest("GUI_powerOffRailsRequest", false);
BoolDataValue GUI_stopRailsAnd12VSupportRequest("GUI_stopRailsAnd12VSupportRequest", false);
BoolDataValue GUI_seatInstallRequest("GUI_seatInstallRequest", false);
BoolDataValue GUI_spoilerCalibrationRequest("GUI_spoilerCalibrationRequest", false);
BoolDataValue GUI_transportModeSleepTestRequest("GUI_transportModeSleepTestRequest", false);
BoolDataValue GUI_factoryModeLimitOverride("GUI_factoryModeLimitOverride", false);
IntDataValue GUI_powerLimitRequest("GUI_powerLimitRequest", 31);
IntDataValue GUI_torqueLimitRequest("GUI_torqueLimitRequest", 63);
BoolDataValue GUI_factoryKestro("GUI_factoryKestro", false);
IntDataValue GUI_factoryKestroHeartbeat("GUI_factoryKestroHeartbeat", 0);

IntDataValue VAPI_gear("VAPI_gear", 1);
IntDataValue VAPI_carType("VAPI_carType", 1);
BoolDataValue VAPI_driveRailOn("VAPI_driveRailOn", true);
BoolDataValue VAPI_towModeEnabled("VAPI_towModeEnabled", false);
BoolDataValue VAPI_hasParkAssist("VAPI_hasParkAssist", true);
BoolDataValue VAPI_esp2("VAPI_esp2", true);
BoolDataValue VAPI_velocorCapable("VAPI_velocorCapable", true);
BoolDataValue VAPI_hasActiveSpoiler("VAPI_hasActiveSpoiler", true);
BoolDataValue VAPI_fourWheelDrive("VAPI_fourWheelDrive", true);
RealDataValue VAPI_vehicleSpeed("VAPI_vehicleSpeed", 0.0);
RealDataValue VAPI_stateOfCharge("VAPI_stateOfCharge", 78.0);
RealDataValue VAPI_battery12V("VAPI_battery12V", 13.8);
RealDataValue VAPI_batteryTemperature("VAPI_batteryTemperature", 24.0);
RealDataValue VAPI_cabinTemperature("VAPI_cabinTemperature", 21.5);
RealDataValue VAPI_outsideTemperature("VAPI_outsideTemperature", 15.0);

BoolDataValue GUI_logMapTouches("GUI_logMapTouches", false);
BoolDataValue GUI_reloadMapOnConnectivity("GUI_reloadMapOnConnectivity", true);
BoolDataValue GUI_noSearchWarning("GUI_noSearchWarning", false);
BoolDataValue GUI_smoothGPSUpdates("GUI_smoothGPSUpdates", true);
BoolDataValue GUI_sortPlaceResultsByDistance("GUI_sortPlaceResultsByDistance", false);
BoolDataValue GUI_enableTraffic("GUI_enableTraffic", true);
BoolDataValue GUI_adasCurvatureLog("GUI_adasCurvatureLog", false);
BoolDataValue GUI_shouldRecommendHome("GUI_shouldRecommendHome", false);
BoolDataValue GUI_shouldRecommendWork("GUI_shouldRecommendWork", false);

IntDataValue DAS_factoryKestroStatus("DAS_factoryKestroStatus", 2);

IntDataValue LINK_linkState("LINK_linkState", 2);

RealDataValue LOC_estimatedLat("LOC_estimatedLat", 37.774929);
RealDataValue LOC_estimatedLon("LOC_estimatedLon", -122.419416);
RealDataValue LOC_geoAccuracy("LOC_geoAccuracy", 12.5);
RealDataValue LOC_estimatedGeoTimestamp("LOC_estimatedGeoTimestamp", 1700000000000.0);
