// Error lists, notifications, estimates and the pushed messages.
#include "expected_text.h"
#include "robocomm/responses.h"

namespace restest {
namespace {

Json::Value twoErrors() {
    Json::Value list;
    for (int i = 1; i <= 2; ++i) {
        Json::Value entry;
        entry["resolved"] = i - 1;
        entry["rank"] = i;
        entry["errorCode"] = "E0" + std::to_string(i);
        list.append(entry);
    }
    return list;
}

constexpr const char* kTwoErrors = R"(
[
  {
    "errorCode" : "E01",
    "rank" : 1,
    "resolved" : 0
  },
  {
    "errorCode" : "E02",
    "rank" : 2,
    "resolved" : 1
  }
])";

const std::vector<DocumentCase> kNoticeDocuments = {
    {"ErrorList", [] { return createJsonErrorList(twoErrors()); }, answerText("ErrorList", kTwoErrors)},
    {"ErrorListNull", [] { return createJsonErrorList(Json::Value()); }, answerText("ErrorList", "null")},
    {"EmergencyErrorList", [] { return createJsonEmergencyErrorList(twoErrors()); },
     pushText("ErrorList", kTwoErrors)},
    {"EmergencyOTAStateFirst", [] { return createJson_EmergencyMSG_OTA(1, 40, "v1.2"); },
     pushText("OTA", R"(
{
  "progress" : 40,
  "state" : 1,
  "version" : "v1.2"
})")},
    {"EmergencyOTADataProgressFirst", [] { return createJson_EmergencyMSG_OTAData(40, 1); },
     pushText("OTA", R"(
{
  "progress" : 40,
  "state" : 1
})")},
    {"NotificationKeepsItsSpelling", [] { return createJsonNotification(7, "x"); },
     answerText("Notification", R"(
{
  "code" : 7,
  "desccription" : "x"
})")},
    {"TargetPositionCalculate", [] { return createJsonTargetPositionCalculate(12.5, 3.25, 1, -1, 0.5); },
     answerText("TargetPositionCalculate", R"(
{
  "distance" : 3.25,
  "theta" : 0.5,
  "time" : 12.5,
  "x" : 1.0,
  "y" : -1.0
})")},
    {"AICalibration", [] { return createJsonAICalibration(-2); },
     answerText("AICalibration", R"(
{
  "result" : -2
})")},
};

INSTANTIATE_TEST_SUITE_P(Notice, DocumentTextTest, ::testing::ValuesIn(kNoticeDocuments), caseName);

}  // namespace
}  // namespace restest
