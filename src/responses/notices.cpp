// Errors, notifications, travel estimates and the pushed messages.
#include <utility>

#include "link/frame.h"
#include "responses/document.h"
#include "robocomm/responses.h"

namespace {

// Left null when there are no records: the client expects "ErrorList": null
// for an empty list, not [].
Json::Value errorListValue(const std::vector<ErrorRecord>& errors) {
    Json::Value list;
    for (const ErrorRecord& error : errors) {
        Json::Value entry(Json::objectValue);
        entry["resolved"] = error.resolved;
        entry["rank"] = error.rank;
        entry["errorCode"] = error.errorCode;
        list.append(std::move(entry));
    }
    return list;
}

}  // namespace

std::string createJsonErrorList(const Json::Value& list) {
    return robocomm::answerDocument("ErrorList", [&](Json::Value& body) { body = list; });
}

std::string createJsonEmergencyErrorList(const Json::Value& list) {
    return robocomm::pushDocument("ErrorList", [&](Json::Value& body) { body = list; });
}

std::string createJson_EmergencyMSG_OTA(int state, int progress, std::string version) {
    return robocomm::pushDocument("OTA", [&](Json::Value& body) {
        body["state"] = state;
        body["progress"] = progress;
        body["version"] = std::move(version);
    });
}

std::string createJson_EmergencyMSG_OTAData(int progress, int state) {
    return robocomm::pushDocument("OTA", [&](Json::Value& body) {
        body["progress"] = progress;
        body["state"] = state;
    });
}

std::string createJsonNotification(int code, std::string description) {
    return robocomm::answerDocument("Notification", [&](Json::Value& body) {
        body["code"] = code;
        body["desccription"] = std::move(description);
    });
}

std::string createJsonTargetPositionCalculate(double time, double distance, double x, double y, double theta) {
    return robocomm::answerDocument("TargetPositionCalculate", [&](Json::Value& body) {
        body["time"] = time;
        body["distance"] = distance;
        body["x"] = x;
        body["y"] = y;
        body["theta"] = theta;
    });
}

std::string createJsonAICalibration(int result) {
    return robocomm::answerDocument("AICalibration", [&](Json::Value& body) { body["result"] = result; });
}

void resGetErrorList(const std::vector<ErrorRecord>& errors) {
    robocomm::sendAnswer(createJsonErrorList(errorListValue(errors)), 12);
}

void resGetTargetPositionCalculate(double time, double distance, double x, double y, double theta) {
    robocomm::sendAnswer(createJsonTargetPositionCalculate(time, distance, x, y, theta), 20);
}

void resGetNotification(int code, const std::string& description) {
    robocomm::sendAnswer(createJsonNotification(code, description), 23);
}

void resGetAICalibration(int result) { robocomm::sendAnswer(createJsonAICalibration(result), 25); }

void resSetOTAdata(int progress, int state) {
    robocomm::sendPush(createJson_EmergencyMSG_OTAData(progress, state), robocomm::kOtaDataCode);
}

void EmergencyMSG_ERROR(const std::vector<ErrorRecord>& errors) {
    robocomm::sendPush(createJsonEmergencyErrorList(errorListValue(errors)), 100);
}

void EmergencyMSG_OTA(int state, int progress, const std::string& version) {
    robocomm::sendPush(createJson_EmergencyMSG_OTA(state, progress, version), 101);
}
