// Command intake: one mailbox per command, filled by the receive thread and
// polled by the host.
//
// Every mailbox is a plain record: the command's parameters in order, then a
// pending byte (0 idle, 1 pending). The parser writes the parameters before
// raising the byte; a poll reads the byte first, copies the parameters out,
// clears the mailbox and returns the byte. An idle poll returns 0 and leaves
// the caller's out-parameter untouched; it takes no lock. A hand-over
// of texts or lists is guarded so that it never copies a half-written one.
//
// Polls are meant for every cycle of the host's loop: the plain ones are
// constant time and never allocate or block. Each poll names its command
// code and the answer function that goes with it; poll one mailbox from
// one thread only. Map data arrive as base64 text; the ...B polls hand
// them over decoded.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <json/value.h>

#include "robocomm/export.h"
#include "robocomm/records.h"

// ---- Out-records of the polls that hand over more than one kind of value ----

struct Rotation_t {
    int32_t type;
    double radian;
};

// Firmware announcement (OTA, code 80).
struct OTAInfo_t {
    std::string checksum;
    int32_t size;
};

// Modified map with its image decoded from base64.
struct ModifiedMapDataB_t {
    double width;
    double height;
    std::vector<unsigned char> data;
};

// PGM map with its image decoded and the verdict of its checksum.
struct PGMMapDataB_t {
    std::string name;
    bool checksumOk;
    std::vector<unsigned char> data;
};

// ---- Mailbox shapes ----

struct FlagMailbox {
    uint8_t pending;
};

struct IntMailbox {
    int32_t set;
    uint8_t pending;
};

struct BoolMailbox {
    bool start;
    uint8_t pending;
};

struct SpeedMailbox {
    double mS;
    uint8_t pending;
};

struct RPMMailbox {
    int32_t leftRPM;
    int32_t rightRPM;
    uint8_t pending;
};

struct VWMailbox {
    double mS;
    double radS;
    uint8_t pending;
};

struct PoseMailbox {
    double x;
    double y;
    double theta;
    uint8_t pending;
};

struct RotationMailbox : Rotation_t {
    uint8_t pending;
};

struct TimeDataMailbox : TimeData_t {
    uint8_t pending;
};

struct ModifiedMapMailbox {
    double width;
    double height;
    std::string data;
    uint8_t pending;
};

struct TextMailbox {
    std::string data;
    uint8_t pending;
};

struct ByPassOneMailbox : ByPassOneData_t {
    uint8_t pending;
};

struct PGMMapMailbox : PGMMapData_t {
    uint8_t pending;
};

struct OTAMailbox : OTAInfo_t {
    uint8_t pending;
};

// The parser fills checksum and data from the OTAdata command; the receive
// loop fills imageChecksum and imageData from the firmware stream.
struct OTADataMailbox {
    std::string checksum;
    std::string data;
    std::string imageChecksum;
    std::vector<unsigned char> imageData;
    uint8_t pending;
};

// ---- Get commands ----

ROBOCOMM_API extern FlagMailbox globalGetPosition;                      // 1
ROBOCOMM_API extern FlagMailbox globalGetLidarSensorStatus;             // 2, 101
ROBOCOMM_API extern FlagMailbox globalGetMotorStatus;                   // 3
ROBOCOMM_API extern FlagMailbox globalGetCameraStatus;                  // 4
ROBOCOMM_API extern FlagMailbox globalGetLineLaserStatus;               // 5
ROBOCOMM_API extern FlagMailbox globalGetTofStatus;                     // 6
ROBOCOMM_API extern FlagMailbox globalGetIRStatus;                      // 7
ROBOCOMM_API extern FlagMailbox globalGetSonicStatus;                   // 8
ROBOCOMM_API extern FlagMailbox globalGetBatteryStatus;                 // 9
ROBOCOMM_API extern FlagMailbox globalGetSoftwareVersion;               // 10
ROBOCOMM_API extern FlagMailbox globalGetRobotInfo;                     // 11
ROBOCOMM_API extern FlagMailbox globalGetErrorList;                     // 12
ROBOCOMM_API extern FlagMailbox globalGetTargetPosition;                // 13
ROBOCOMM_API extern FlagMailbox globalGetMapStatus;                     // 14
ROBOCOMM_API extern FlagMailbox globalGetMapData;                       // 15
ROBOCOMM_API extern FlagMailbox globalGetLidarData;                     // 16
ROBOCOMM_API extern FlagMailbox globalGetModifiedMapData;               // 17
ROBOCOMM_API extern FlagMailbox globalGetRobotSpeed;                    // 19
ROBOCOMM_API extern PoseMailbox globalGetTargetPositionCalculate;       // 20
ROBOCOMM_API extern FlagMailbox globalGetRobotStatus;                   // 21
ROBOCOMM_API extern FlagMailbox globalGetActionStatus;                  // 22
ROBOCOMM_API extern FlagMailbox globalGetNotification;                  // 23
ROBOCOMM_API extern IntMailbox globalGetAICalibration;                  // 25
ROBOCOMM_API extern FlagMailbox globalLogData;                          // 26
ROBOCOMM_API extern FlagMailbox globalGetDockingStatus;                 // 30
ROBOCOMM_API extern FlagMailbox globalGetMotorStatusV2;                 // 31
ROBOCOMM_API extern FlagMailbox globalGetRecvIRStatus;                  // 32
ROBOCOMM_API extern FlagMailbox globalGetCliffIRStatus;                 // 33
ROBOCOMM_API extern FlagMailbox globalGetCameraStatusV2;                // 34
ROBOCOMM_API extern FlagMailbox globalGetLineLaserStatusV2;             // 35
ROBOCOMM_API extern FlagMailbox globalGetTofStatusV2;                   // 36
ROBOCOMM_API extern FlagMailbox globalGetBatteryStatusV2;               // 37
ROBOCOMM_API extern FlagMailbox globalGetAllStatus;                     // 40
ROBOCOMM_API extern FlagMailbox globalGetAllMovingInfo;                 // 41
ROBOCOMM_API extern FlagMailbox globalGetAllStatusV2;                   // 42
ROBOCOMM_API extern FlagMailbox globalGetAllMovingInfoV2;               // 43
// No command raises these two; they stay exported for hosts that name them.
ROBOCOMM_API extern TextMailbox globalGetIntegrationMapData;
ROBOCOMM_API extern TextMailbox globalGetIntegrationModifiedMapData;

// ---- Set commands ----

ROBOCOMM_API extern FlagMailbox globalSetReturnToChargingStation;       // 50
ROBOCOMM_API extern FlagMailbox globalSetEmergencyStop;                 // 51
ROBOCOMM_API extern FlagMailbox globalSetStartLidar;                    // 52
ROBOCOMM_API extern FlagMailbox globalSetStopLidar;                     // 53
ROBOCOMM_API extern FlagMailbox globalSetStartCharging;                 // 54
ROBOCOMM_API extern FlagMailbox globalSetStopCharging;                  // 55
ROBOCOMM_API extern FlagMailbox globalSetSoftwareReset;                 // 56
ROBOCOMM_API extern SpeedMailbox globalSetMaxDrivingSpeed;              // 57
ROBOCOMM_API extern RPMMailbox globalSetMotorManual_RPM;                // 58
ROBOCOMM_API extern VWMailbox globalSetMotorManual_VW;                  // 59
ROBOCOMM_API extern PoseMailbox globalSetTargetPosition;                // 60
ROBOCOMM_API extern IntMailbox globalSetDriving;                        // 61
ROBOCOMM_API extern IntMailbox globalSetMapping;                        // 62
ROBOCOMM_API extern ModifiedMapMailbox globalSetModifiedMapData;        // 63
ROBOCOMM_API extern FlagMailbox globalSetheartbeat;                     // 64
ROBOCOMM_API extern IntMailbox globalSetExcelSteps;                     // 65
ROBOCOMM_API extern RotationMailbox globalSetRotation;                  // 66
ROBOCOMM_API extern TimeDataMailbox globalSetTimeData;                  // 67
ROBOCOMM_API extern TextMailbox globalSetIntegrationModifiedMapData;    // 70, and 72 (flag only)
ROBOCOMM_API extern ByPassOneMailbox globalSetByPassOne;                // 71
ROBOCOMM_API extern PGMMapMailbox globalSetPGMMapData;                  // 73
ROBOCOMM_API extern BoolMailbox globalFactoryMode;                      // 74
ROBOCOMM_API extern BoolMailbox globalBatterySleepMode;                 // 75
ROBOCOMM_API extern BoolMailbox globalInspectionMode;                   // 76
ROBOCOMM_API extern PoseMailbox globalStationRepositioning;             // 77
ROBOCOMM_API extern OTAMailbox globalOTA;                               // 80
ROBOCOMM_API extern OTADataMailbox globalOTAdata;                       // 81
ROBOCOMM_API extern FlagMailbox globalFactoryReset;                     // 83
ROBOCOMM_API extern FlagMailbox globalRecovery;                         // 84
ROBOCOMM_API extern IntMailbox globalSetDockingStatus;                  // 90
ROBOCOMM_API extern FlagMailbox globalError;                            // 100
ROBOCOMM_API extern IntMailbox globalsSettingCommand;                   // 251
ROBOCOMM_API extern IntMailbox globalsConfigCommand;                    // 252

// ---- Clear operations: every field zero or empty, pending byte 0 ----

ROBOCOMM_API void clearGlobalPosition();
ROBOCOMM_API void clearGlobalGetLidarSensorStatus();
ROBOCOMM_API void clearGlobalGetMotorStatus();
ROBOCOMM_API void clearGlobalGetCameraStatus();
ROBOCOMM_API void clearGlobalGetLineLaserStatus();
ROBOCOMM_API void clearGlobalGetTofStatus();
ROBOCOMM_API void clearGlobalGetIRStatus();
ROBOCOMM_API void clearGlobalGetSonicStatus();
ROBOCOMM_API void clearGlobalGetBatteryStatus();
ROBOCOMM_API void clearGlobalGetSoftwareVersion();
ROBOCOMM_API void clearGlobalGetRobotInfo();
ROBOCOMM_API void clearGlobalGetErrorList();
ROBOCOMM_API void clearGlobalGetTargetPosition();
ROBOCOMM_API void clearGlobalGetMapStatus();
ROBOCOMM_API void clearGlobalGetMapData();
ROBOCOMM_API void clearGlobalGetLidarData();
ROBOCOMM_API void clearGlobalGetModifiedMapData();
ROBOCOMM_API void clearGlobalGetRobotSpeed();
ROBOCOMM_API void clearGlobalGetTargetPositionCalculate();
ROBOCOMM_API void clearGlobalGetRobotStatus();
ROBOCOMM_API void clearGlobalGetActionStatus();
ROBOCOMM_API void clearGlobalGetNotification();
ROBOCOMM_API void clearGlobalGetAICalibration();
ROBOCOMM_API void clearGlobalLogData();
ROBOCOMM_API void clearGlobalGetDockingStatus();
ROBOCOMM_API void clearGlobalGetMotorStatusV2();
ROBOCOMM_API void clearGlobalGetRecvIRStatus();
ROBOCOMM_API void clearGlobalGetCliffIRStatus();
ROBOCOMM_API void clearGlobalGetCameraStatusV2();
ROBOCOMM_API void clearGlobalGetLineLaserStatusV2();
ROBOCOMM_API void clearGlobalGetTofStatusV2();
ROBOCOMM_API void clearGlobalGetBatteryStatusV2();
ROBOCOMM_API void clearGlobalGetAllStatus();
ROBOCOMM_API void clearGlobalGetAllMovingInfo();
ROBOCOMM_API void clearGlobalGetAllStatusV2();
ROBOCOMM_API void clearGlobalGetAllMovingInfoV2();

ROBOCOMM_API void clearGlobalSetReturnToChargingStation();
ROBOCOMM_API void clearGlobalSetEmergencyStop();
ROBOCOMM_API void clearGlobalSetStartLidar();
ROBOCOMM_API void clearGlobalSetStopLidar();
ROBOCOMM_API void clearGlobalSetStartCharging();
ROBOCOMM_API void clearGlobalSetStopCharging();
ROBOCOMM_API void clearGlobalSetSoftwareReset();
ROBOCOMM_API void clearGlobalSetMaxDrivingSpeed();
ROBOCOMM_API void clearGlobalSetMotorManual_RPM();
ROBOCOMM_API void clearGlobalSetMotorManual_VW();
ROBOCOMM_API void clearGlobalSetTargetPosition();
ROBOCOMM_API void clearGlobalSetDriving();
ROBOCOMM_API void clearGlobalSetMapping();
ROBOCOMM_API void clearGlobalSetModifiedMapData();
ROBOCOMM_API void clearGlobalSetheartbeat();
ROBOCOMM_API void clearGlobalSetExcelSteps();
ROBOCOMM_API void clearGlobalSetRotation();
ROBOCOMM_API void clearGlobalSetTimeData();
ROBOCOMM_API void clearGlobalSetIntegrationModifiedMapData();
ROBOCOMM_API void clearGlobalSetByPassOneData();
ROBOCOMM_API void clearGlobalSetPGMMapData();
ROBOCOMM_API void clearGlobalFactoryMode();
ROBOCOMM_API void clearGlobalBatterySleepMode();
ROBOCOMM_API void clearGlobalInspectionMode();
ROBOCOMM_API void clearGlobalStationRepositioning();
ROBOCOMM_API void clearGlobalSetOTA();
// Narrow on purpose: leaves imageChecksum and imageData to the receive loop.
ROBOCOMM_API void clearGlobalSetOTAdata();
ROBOCOMM_API void clearGlobalSetFactoryReset();
ROBOCOMM_API void clearGlobalSetRecovery();
ROBOCOMM_API void clearGlobalSetDockingState();
ROBOCOMM_API void clearGlobalError();
ROBOCOMM_API void clearGlobalSetSettingCommand();
ROBOCOMM_API void clearGlobalSetConfigCommand();

// ---- Parser and map-edit document parsers ----

// One inbound message: the command code byte, then the (enciphered) JSON body.
ROBOCOMM_API void parseData(const std::string& message);

ROBOCOMM_API Position_t parsePosition(const Json::Value& v);
ROBOCOMM_API Room_t parseRoom(const Json::Value& v);
ROBOCOMM_API BlockArea_t parseBlockArea(const Json::Value& v);
ROBOCOMM_API ChargingStation_t parseChargingStation(const Json::Value& v);
ROBOCOMM_API InitPosition_t parseInitPosition(const Json::Value& v);
ROBOCOMM_API ByPassOneData_t parseBypassOneData(const Json::Value& doc);

// Takes the fields as UTC; throws std::runtime_error when the clock is not set.
ROBOCOMM_API void setSystemTime(const TimeData_t& t);

// ---- Host polling API ----

ROBOCOMM_C_BEGIN
// Code 1; answer with resGetPosition.
ROBOCOMM_API uint8_t reqGetPosition();
// Code 2 and 101; answer with resGetLidarSensorStatus.
ROBOCOMM_API uint8_t reqGetLidarSensorStatus();
// Code 3; answer with resGetMotorStatus.
ROBOCOMM_API uint8_t reqGetMotorStatus();
// Code 4; answer with resGetCameraStatus.
ROBOCOMM_API uint8_t reqGetCameraStatus();
// Code 5; answer with resGetLineLaserStatus.
ROBOCOMM_API uint8_t reqGetLineLaserStatus();
// Code 6; answer with resGetTofStatus.
ROBOCOMM_API uint8_t reqGetTofStatus();
// Code 7; answer with resGetIRStatus.
ROBOCOMM_API uint8_t reqGetIRStatus();
// Code 8; answer with resGetSonicStatus.
ROBOCOMM_API uint8_t reqGetSonicStatus();
// Code 9; answer with resGetBatteryStatus.
ROBOCOMM_API uint8_t reqGetBatteryStatus();
// Code 10; answer with resGetSoftwareVersion.
ROBOCOMM_API uint8_t reqGetSoftwareVersion();
// Code 11; answer with resGetRobotInfo.
ROBOCOMM_API uint8_t reqGetRobotInfo();
// Code 12; answer with resGetErrorList.
ROBOCOMM_API uint8_t reqGetErrorList();
// Code 13; answer with resGetTargetPosition.
ROBOCOMM_API uint8_t reqGetTargetPosition();
// Code 14; answer with resGetMapStatus.
ROBOCOMM_API uint8_t reqGetMapStatus();
// Code 15; answer with resGetMapDataS or resGetMapDataB.
ROBOCOMM_API uint8_t reqGetMapData();
// Code 16; answer with resGetLidarData.
ROBOCOMM_API uint8_t reqGetLidarData();
// Code 17; answer with resGetModifiedMapData or resGetModifiedMapDataB.
ROBOCOMM_API uint8_t reqGetModifiedMapData();
// Code 19; answer with resGetRobotSpeed.
ROBOCOMM_API uint8_t reqGetRobotSpeed();
// Code 20; answer with resGetTargetPositionCalculate.
// Nothing writes the three values, so they always come out 0.
ROBOCOMM_API uint8_t reqGetTargetPositionCalculate(double out[3]);
// Code 21; answer with resGetRobotStatus.
ROBOCOMM_API uint8_t reqGetRobotStatus();
// Code 22; answer with resGetActionStatus.
ROBOCOMM_API uint8_t reqGetActionStatus();
// Code 23; answer with resGetNotification.
ROBOCOMM_API uint8_t reqGetNotification();
// Code 25; answer with resGetAICalibration.
ROBOCOMM_API uint8_t reqGetAICalibration(int32_t* out);
// Code 26; answer with resGetLogData (files.h).
ROBOCOMM_API uint8_t reqGetLogData();
// Code 30; answer with resGetDockingStatus.
ROBOCOMM_API uint8_t reqGetDockingStatus();
// Code 31; answer with resGetMotorStatusV2.
ROBOCOMM_API uint8_t reqGetMotorStatusV2();
// Code 32; answer with resGetRecvIRStatus.
ROBOCOMM_API uint8_t reqGetRecvIRStatus();
// Code 33; answer with resGetCliffIRStatus.
ROBOCOMM_API uint8_t reqGetCliffIRStatus();
// Code 34; answer with resGetCameraStatusV2.
ROBOCOMM_API uint8_t reqGetCameraStatusV2();
// Code 35; answer with resGetLineLaserStatusV2.
ROBOCOMM_API uint8_t reqGetLineLaserStatusV2();
// Code 36; answer with resGetTofStatusV2.
ROBOCOMM_API uint8_t reqGetTofStatusV2();
// Code 37; answer with resGetBatteryStatusV2.
ROBOCOMM_API uint8_t reqGetBatteryStatusV2();
// Code 40; answer with resGetAllStatus.
ROBOCOMM_API uint8_t reqGetAllStatus();
// Code 41; answer with resGetAllMovingInfo.
ROBOCOMM_API uint8_t reqGetAllMovingInfo();
// Code 42; answer with resGetAllStatusV2.
ROBOCOMM_API uint8_t reqGetAllStatusV2();
// Code 43; answer with resGetAllMovingInfoV2.
ROBOCOMM_API uint8_t reqGetAllMovingInfoV2();

// Code 50; answer with resSetReturnToChargingStation.
ROBOCOMM_API uint8_t reqSetReturnToChargingStation();
// Code 51; answer with resSetEmergencyStop.
ROBOCOMM_API uint8_t reqSetEmergencyStop();
// Code 52; answer with resSetStartLidar.
ROBOCOMM_API uint8_t reqSetStartLidar();
// Code 53; answer with resSetStopLidar.
ROBOCOMM_API uint8_t reqSetStopLidar();
// Code 54; answer with resSetStartCharging.
ROBOCOMM_API uint8_t reqSetStartCharging();
// Code 55; answer with resSetStopCharging.
ROBOCOMM_API uint8_t reqSetStopCharging();
// Code 56; answer with resSetSoftwareReset.
ROBOCOMM_API uint8_t reqSetSoftwareReset();
// Code 57; answer with resSetMaxDrivingSpeed.
ROBOCOMM_API uint8_t reqSetMaxDrivingSpeed(double* mS);
// Code 58; answer with resSetMotorManual_RPM.
// out[0] left, out[1] right.
ROBOCOMM_API uint8_t reqSetMotorManual_RPM(int32_t out[2]);
// Code 59; answer with resSetMotorManual_VW.
// out[0] mS, out[1] radS.
ROBOCOMM_API uint8_t reqSetMotorManual_VW(double out[2]);
// Code 60; answer with resSetTargetPosition.
// out[0] x, out[1] y, out[2] theta.
ROBOCOMM_API uint8_t reqSetTargetPosition(double out[3]);
// Code 61; answer with resSetDriving.
ROBOCOMM_API uint8_t reqSetDriving(int32_t* out);
// Code 62; answer with resSetMapping.
ROBOCOMM_API uint8_t reqSetMapping(int32_t* out);
// Code 63; answer with resSetModifiedMapData.
// reqSetModifiedMapDataS and reqSetModifiedMapDataB are two views of one
// mailbox: whichever the host calls first takes the command.
ROBOCOMM_API uint8_t reqSetModifiedMapDataS(std::string* out);
// Code 63; answer with resSetModifiedMapData.
ROBOCOMM_API uint8_t reqSetModifiedMapDataB(ModifiedMapDataB_t* out);
// Code 64; answer with resSetheartbeat.
ROBOCOMM_API uint8_t reqSetheartbeat();
// Code 65; answer with resSetExcelSteps.
ROBOCOMM_API uint8_t reqSetExcelSteps(int32_t* out);
// Code 66; answer with resSetRotation.
ROBOCOMM_API uint8_t reqSetRotation(Rotation_t* out);
// Code 67; answered by the library itself.
// The parser takes TimeData itself: it sets the system clock and answers on
// the receive thread, so the host normally finds nothing here.
ROBOCOMM_API uint8_t reqSetTimeData(TimeData_t* out);
// Code 70 and 72; answer with 70: resSetIntegrationModifiedMapData; 72: resSetByPassTwoData.
ROBOCOMM_API uint8_t reqSetIntegrationModifiedMapDataB(std::vector<unsigned char>* out);
// Code 71; answer with resSetByPassOneData.
// The library has already stored the document in mapEditFilePath (files.h).
ROBOCOMM_API uint8_t reqSetByPassOneData(ByPassOneData_t* out);
// Code 73; answer with resSetPGMMapData.
// The map decoded; checksumOk tells whether "sha256" is the digest of the
// base64 text as received (not of the image). The map comes even when not.
ROBOCOMM_API uint8_t reqSetPGMMapData(PGMMapDataB_t* out);
// Code 74; answer with resSetFactoryMode.
ROBOCOMM_API uint8_t reqSetFactoryMode(bool* out);
// Code 75; answer with resSetBatterySleepMode.
ROBOCOMM_API uint8_t reqSetBatterySleepMode(bool* out);
// Code 76; answer with resSetSensorInspectionMode.
ROBOCOMM_API uint8_t reqSetSensorInspectionMode(bool* out);
// Code 77; answer with resSetStationRepositioningIdx.
ROBOCOMM_API uint8_t reqSetStationRepositioning(double out[3]);
// Code 80; answer with resSetOTA.
ROBOCOMM_API uint8_t reqSetOTA(OTAInfo_t* out);
// Code 81; answer with resSetResult(81, ok).
// Hands over the assembled firmware image; check it with validateOTAData.
// The receive thread has already pushed its progress (resSetOTAdata).
ROBOCOMM_API uint8_t reqSetOTAdata(otadataB_t* out);
// Code 83; answer with resSetFactoryReset (its result is named "OTA").
ROBOCOMM_API uint8_t reqSetFactoryReset();
// Code 84; answer with resSetRecovery.
ROBOCOMM_API uint8_t reqSetRecovery();
// Code 90; answer with resSetDockingState.
ROBOCOMM_API uint8_t reqSetDockingState(int32_t* out);
// Code 251; answer with resSetSettingCommand.
ROBOCOMM_API uint8_t reqSetSettingCommand(int32_t* out);
// Code 252; answer with resSetConfigCommand.
ROBOCOMM_API uint8_t reqSetConfigCommand(int32_t* out);

// Code 100: the client's acknowledgement of an error push (EmergencyMSG_ERROR);
// the robot does not answer it.
ROBOCOMM_API bool RecvErrorRes();
ROBOCOMM_C_END
