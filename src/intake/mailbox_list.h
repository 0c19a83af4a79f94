// The mailboxes as lists, so that their definitions, clear operations and
// polls are generated rather than written out seventy times. Each list names
// the exported global, its clear operation and, where the poll only copies,
// its poll function.
#pragma once

// Parameterless mailboxes: the poll returns the pending byte and nothing else.
#define ROBOCOMM_FLAG_MAILBOXES(X)                                                              \
    X(globalGetPosition, clearGlobalPosition, reqGetPosition)                                  \
    X(globalGetLidarSensorStatus, clearGlobalGetLidarSensorStatus, reqGetLidarSensorStatus)    \
    X(globalGetMotorStatus, clearGlobalGetMotorStatus, reqGetMotorStatus)                      \
    X(globalGetCameraStatus, clearGlobalGetCameraStatus, reqGetCameraStatus)                   \
    X(globalGetLineLaserStatus, clearGlobalGetLineLaserStatus, reqGetLineLaserStatus)          \
    X(globalGetTofStatus, clearGlobalGetTofStatus, reqGetTofStatus)                            \
    X(globalGetIRStatus, clearGlobalGetIRStatus, reqGetIRStatus)                               \
    X(globalGetSonicStatus, clearGlobalGetSonicStatus, reqGetSonicStatus)                      \
    X(globalGetBatteryStatus, clearGlobalGetBatteryStatus, reqGetBatteryStatus)                \
    X(globalGetSoftwareVersion, clearGlobalGetSoftwareVersion, reqGetSoftwareVersion)          \
    X(globalGetRobotInfo, clearGlobalGetRobotInfo, reqGetRobotInfo)                            \
    X(globalGetErrorList, clearGlobalGetErrorList, reqGetErrorList)                            \
    X(globalGetTargetPosition, clearGlobalGetTargetPosition, reqGetTargetPosition)             \
    X(globalGetMapStatus, clearGlobalGetMapStatus, reqGetMapStatus)                            \
    X(globalGetMapData, clearGlobalGetMapData, reqGetMapData)                                  \
    X(globalGetLidarData, clearGlobalGetLidarData, reqGetLidarData)                            \
    X(globalGetModifiedMapData, clearGlobalGetModifiedMapData, reqGetModifiedMapData)          \
    X(globalGetRobotSpeed, clearGlobalGetRobotSpeed, reqGetRobotSpeed)                         \
    X(globalGetRobotStatus, clearGlobalGetRobotStatus, reqGetRobotStatus)                      \
    X(globalGetActionStatus, clearGlobalGetActionStatus, reqGetActionStatus)                   \
    X(globalGetNotification, clearGlobalGetNotification, reqGetNotification)                   \
    X(globalLogData, clearGlobalLogData, reqGetLogData)                                        \
    X(globalGetDockingStatus, clearGlobalGetDockingStatus, reqGetDockingStatus)                \
    X(globalGetMotorStatusV2, clearGlobalGetMotorStatusV2, reqGetMotorStatusV2)                \
    X(globalGetRecvIRStatus, clearGlobalGetRecvIRStatus, reqGetRecvIRStatus)                   \
    X(globalGetCliffIRStatus, clearGlobalGetCliffIRStatus, reqGetCliffIRStatus)                \
    X(globalGetCameraStatusV2, clearGlobalGetCameraStatusV2, reqGetCameraStatusV2)             \
    X(globalGetLineLaserStatusV2, clearGlobalGetLineLaserStatusV2, reqGetLineLaserStatusV2)    \
    X(globalGetTofStatusV2, clearGlobalGetTofStatusV2, reqGetTofStatusV2)                      \
    X(globalGetBatteryStatusV2, clearGlobalGetBatteryStatusV2, reqGetBatteryStatusV2)          \
    X(globalGetAllStatus, clearGlobalGetAllStatus, reqGetAllStatus)                            \
    X(globalGetAllMovingInfo, clearGlobalGetAllMovingInfo, reqGetAllMovingInfo)                \
    X(globalGetAllStatusV2, clearGlobalGetAllStatusV2, reqGetAllStatusV2)                      \
    X(globalGetAllMovingInfoV2, clearGlobalGetAllMovingInfoV2, reqGetAllMovingInfoV2)          \
    X(globalSetReturnToChargingStation, clearGlobalSetReturnToChargingStation,                 \
      reqSetReturnToChargingStation)                                                           \
    X(globalSetEmergencyStop, clearGlobalSetEmergencyStop, reqSetEmergencyStop)                \
    X(globalSetStartLidar, clearGlobalSetStartLidar, reqSetStartLidar)                         \
    X(globalSetStopLidar, clearGlobalSetStopLidar, reqSetStopLidar)                            \
    X(globalSetStartCharging, clearGlobalSetStartCharging, reqSetStartCharging)                \
    X(globalSetStopCharging, clearGlobalSetStopCharging, reqSetStopCharging)                   \
    X(globalSetSoftwareReset, clearGlobalSetSoftwareReset, reqSetSoftwareReset)                \
    X(globalSetheartbeat, clearGlobalSetheartbeat, reqSetheartbeat)                            \
    X(globalFactoryReset, clearGlobalSetFactoryReset, reqSetFactoryReset)                      \
    X(globalRecovery, clearGlobalSetRecovery, reqSetRecovery)

// Mailboxes whose poll copies the parameters, unchanged, into one out-parameter.
#define ROBOCOMM_VALUE_MAILBOXES(X)                                                                      \
    X(globalGetTargetPositionCalculate, clearGlobalGetTargetPositionCalculate, reqGetTargetPositionCalculate, \
      double*)                                                                                          \
    X(globalGetAICalibration, clearGlobalGetAICalibration, reqGetAICalibration, int32_t*)               \
    X(globalSetMaxDrivingSpeed, clearGlobalSetMaxDrivingSpeed, reqSetMaxDrivingSpeed, double*)          \
    X(globalSetMotorManual_RPM, clearGlobalSetMotorManual_RPM, reqSetMotorManual_RPM, int32_t*)         \
    X(globalSetMotorManual_VW, clearGlobalSetMotorManual_VW, reqSetMotorManual_VW, double*)             \
    X(globalSetTargetPosition, clearGlobalSetTargetPosition, reqSetTargetPosition, double*)             \
    X(globalSetDriving, clearGlobalSetDriving, reqSetDriving, int32_t*)                                 \
    X(globalSetMapping, clearGlobalSetMapping, reqSetMapping, int32_t*)                                 \
    X(globalSetExcelSteps, clearGlobalSetExcelSteps, reqSetExcelSteps, int32_t*)                        \
    X(globalSetRotation, clearGlobalSetRotation, reqSetRotation, Rotation_t*)                           \
    X(globalSetTimeData, clearGlobalSetTimeData, reqSetTimeData, TimeData_t*)                           \
    X(globalFactoryMode, clearGlobalFactoryMode, reqSetFactoryMode, bool*)                              \
    X(globalBatterySleepMode, clearGlobalBatterySleepMode, reqSetBatterySleepMode, bool*)               \
    X(globalInspectionMode, clearGlobalInspectionMode, reqSetSensorInspectionMode, bool*)               \
    X(globalStationRepositioning, clearGlobalStationRepositioning, reqSetStationRepositioning, double*) \
    X(globalOTA, clearGlobalSetOTA, reqSetOTA, OTAInfo_t*)                                              \
    X(globalSetDockingStatus, clearGlobalSetDockingState, reqSetDockingState, int32_t*)                 \
    X(globalsSettingCommand, clearGlobalSetSettingCommand, reqSetSettingCommand, int32_t*)              \
    X(globalsConfigCommand, clearGlobalSetConfigCommand, reqSetConfigCommand, int32_t*)

// Mailboxes whose polls are written out by hand: they decode, verify or deep
// copy, or (RecvErrorRes) answer in another type. The OTAdata mailbox is not
// here either: its clear operation is narrow.
#define ROBOCOMM_TRANSFORMED_MAILBOXES(X)                                                 \
    X(globalSetModifiedMapData, clearGlobalSetModifiedMapData)                           \
    X(globalSetIntegrationModifiedMapData, clearGlobalSetIntegrationModifiedMapData)     \
    X(globalSetByPassOne, clearGlobalSetByPassOneData)                                   \
    X(globalSetPGMMapData, clearGlobalSetPGMMapData)                                     \
    X(globalError, clearGlobalError)
