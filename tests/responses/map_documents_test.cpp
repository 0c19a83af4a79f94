// Map answers: text carried unchanged, bytes carried as base64.
#include "expected_text.h"
#include "robocomm/responses.h"

namespace restest {
namespace {

const unsigned char kMan[] = {'M', 'a', 'n'};
const unsigned char kHighBytes[] = {0xff, 0x00, 0x10};

const std::vector<DocumentCase> kMapDocuments = {
    {"MapStatus", [] { return createJsonMapStatus(true, "abc"); },
     answerText("MapStatus", R"(
{
  "data" : "abc",
  "mapping" : true
})")},
    {"MapDataSEscapesNonAscii", [] { return createJsonMapDataS(100, 0.1, 0.5, -12.5, 1e20, "map-\xc3\xa9\x1f"); },
     answerText("MapData", R"(
{
  "data" : "map-\u00e9\u001f",
  "height" : 0.10000000000000001,
  "posX" : -12.5,
  "posY" : 1e+20,
  "resolution" : 0.5,
  "width" : 100.0
})")},
    {"MapDataCThreeBytesUnpadded", [] { return createJsonMapDataC(1, 2, 0.25, 3, 4, kHighBytes, 3); },
     answerText("MapData", R"(
{
  "data" : "/wAQ",
  "height" : 2.0,
  "posX" : 3.0,
  "posY" : 4.0,
  "resolution" : 0.25,
  "width" : 1.0
})")},
    {"MapDataCEmptyIsEmptyText", [] { return createJsonMapDataC(1, 2, 0.25, 3, 4, kMan, 0); },
     answerText("MapData", R"(
{
  "data" : "",
  "height" : 2.0,
  "posX" : 3.0,
  "posY" : 4.0,
  "resolution" : 0.25,
  "width" : 1.0
})")},
    {"IntegrationMapDataOneByte", [] { return createJsonIntegrationMapData(kMan, 1); },
     answerText("MapData", R"(
{
  "data" : "TQ=="
})")},
    {"ModifiedMapData", [] { return createJsonModifiedMapData("xyz"); },
     answerText("ModifiedMapData", R"(
{
  "data" : "xyz"
})")},
    {"ModifiedMapDataCTwoBytes", [] { return createJsonModifiedMapDataC(8, 9.5, kMan, 2); },
     answerText("ModifiedMapData", R"(
{
  "data" : "TWE=",
  "height" : 9.5,
  "width" : 8.0
})")},
    {"IntegrationModifiedMapDataC", [] { return createJsonIntegrationModifiedMapDataC(kMan, 3); },
     answerText("ModifiedMapData", R"(
{
  "data" : "TWFu"
})")},
    {"LidarData", [] { return createJsonLidarData(1.5, 2.5); },
     answerText("LidarData", R"(
{
  "front" : 1.5,
  "rear" : 2.5
})")},
};

INSTANTIATE_TEST_SUITE_P(Map, DocumentTextTest, ::testing::ValuesIn(kMapDocuments), caseName);

}  // namespace
}  // namespace restest
