// The operator's server-side pieces without a browser: the map-edit
// document and its store, and the labels of the robot's codes.
#include <gtest/gtest.h>

#include <fstream>
#include <string>

#include "common/failure.h"
#include "common/files.h"
#include "common/json_text.h"
#include "common/robot_codes.h"
#include "console/map_edit.h"
#include "robocomm/security.h"
#include "support/temp_dir.h"

namespace robocomm::console {
namespace {

using tools::Exit;
using tools::Failure;
using tools::LinkOptions;

Json::Value parsed(const std::string& text) {
    Json::Value root;
    std::string errors;
    EXPECT_TRUE(tools::parseJson(text, root, errors)) << errors;
    return root;
}

Json::Value point(double x, double y) {
    Json::Value p;
    p["x"] = x;
    p["y"] = y;
    return p;
}

Json::Value path(std::initializer_list<std::pair<double, double>> corners) {
    Json::Value list(Json::arrayValue);
    for (const auto& [x, y] : corners) list.append(point(x, y));
    return list;
}

// A blocked area, a wall and a station, as the page draws them.
Json::Value drawnEdit() {
    Json::Value byPass;
    byPass["info"]["uid"] = "edit-1";
    byPass["info"]["version"] = "1";
    byPass["info"]["modified"] = "2026-11-25T05:00:00Z";
    Json::Value area;
    area["id"] = "area-1";
    area["robot_path"] = path({{2.0, 1.0}, {2.4, 1.0}, {2.4, 1.4}});
    area["image_path"] = path({{40, 44}, {48, 44}, {48, 36}});
    byPass["block_area"].append(area);
    Json::Value wall;
    wall["id"] = "wall-1";
    wall["robot_path"] = path({{1.5, 0.0}, {1.9, 0.0}});
    wall["image_path"] = path({{30, 64}, {38, 64}});
    byPass["block_wall"].append(wall);
    Json::Value station;
    station["id"] = "station-1";
    station["robot_position"] = point(0.3, 0.3);
    station["robot_position"]["theta"] = 1.57;
    station["image_position"] = point(6, 58);
    byPass["charging_station"].append(station);
    Json::Value document;
    document["Request"]["Set"]["ByPass"] = byPass;
    return document;
}

LinkOptions plainLink() {
    LinkOptions link;
    link.plain = true;
    return link;
}

std::string refusal(const Json::Value& document, const LinkOptions& link = plainLink()) {
    try {
        mapEditRequest(document, link);
    } catch (const Failure& failure) {
        EXPECT_EQ(failure.status(), Exit::Usage);
        return failure.what();
    }
    return "accepted";
}

TEST(MapEditDocument, TheClientsExampleAndADrawnEditGoAsTheyAre) {
    const Json::Value example =
        parsed(tools::readWholeFile(ROBOCOMM_EXAMPLES_DIR "/map-edit.json"));
    EXPECT_EQ(mapEditRequest(example, plainLink()), tools::compactJson(example));
    EXPECT_EQ(mapEditRequest(drawnEdit(), LinkOptions{}), tools::compactJson(drawnEdit()));
}

TEST(MapEditDocument, RefusesWhatTheRobotsParserWouldMisreadAndSaysWhere) {
    const std::pair<std::function<void(Json::Value&)>, std::string> cases[] = {
        {[](Json::Value& b) { b.removeMember("info"); }, "info: an object"},
        {[](Json::Value& b) { b["info"]["uid"] = ""; }, "info.uid: a text that is not empty"},
        {[](Json::Value& b) { b["block_area"] = "none"; }, "block_area: a list"},
        {[](Json::Value& b) { b["block_area"][0].removeMember("robot_path"); }, "block_area[0].robot_path: a list"},
        {[](Json::Value& b) { b["block_area"][0]["robot_path"].resize(2); }, "block_area[0].robot_path: 3 points"},
        {[](Json::Value& b) { b["block_wall"][0]["image_path"].resize(1); }, "block_wall[0].image_path: as many"},
        {[](Json::Value& b) { b["block_wall"][0]["robot_path"][1]["x"] = "1"; }, "block_wall[0].robot_path[1]: a point"},
        {[](Json::Value& b) { b["charging_station"][0]["robot_position"]["theta"] = "north"; },
         "charging_station[0].robot_position.theta: a number"},
        {[](Json::Value& b) { b["charging_station"][0]["id"] = "area-1"; }, "\"area-1\" is used twice"},
        {[](Json::Value& b) { b["rooms"] = Json::arrayValue; }, "no such part \"rooms\""},
    };
    for (const auto& [spoil, message] : cases) {
        Json::Value document = drawnEdit();
        spoil(document["Request"]["Set"]["ByPass"]);
        EXPECT_NE(refusal(document).find(message), std::string::npos) << refusal(document);
    }
    EXPECT_NE(refusal(parsed("[1]")).find("{\"Request\": {\"Set\": {\"ByPass\""), std::string::npos);
}

// The drawn edit, its request text padded to `size` bytes.
Json::Value editOfSize(size_t size) {
    Json::Value document = drawnEdit();
    Json::Value& info = document["Request"]["Set"]["ByPass"]["info"];
    const size_t base = tools::compactJson(document).size();
    info["modified"] = info["modified"].asString() + std::string(size - base, 'z');
    EXPECT_EQ(tools::compactJson(document).size(), size);
    return document;
}

TEST(MapEditDocument, ADocumentTooLargeForOneFrameIsRefusedSayingByHowMuch) {
    EXPECT_EQ(refusal(editOfSize(32768)), "accepted");
    EXPECT_NE(refusal(editOfSize(32769)).find("32769 bytes on the wire; the robot takes at most 32768 (one frame): "
                                              "1 bytes too many"),
              std::string::npos);
    // Enciphered, the text grows to whole blocks with at least one byte of padding.
    EXPECT_EQ(refusal(editOfSize(32767), LinkOptions{}), "accepted");
    EXPECT_NE(refusal(editOfSize(32768), LinkOptions{}).find("32784 bytes on the wire"), std::string::npos);
}

TEST(MapEditDocument, TheWireSizeIsThatOfTheRealCiphertext) {
    unsigned char key[16], iv[16];
    generateKeyAndIV(password, key, iv);
    for (size_t size : {0u, 1u, 15u, 16u, 17u, 32767u, 32768u}) {
        std::vector<unsigned char> sealed;
        encryptData(std::string(size, 'a'), sealed, key, iv);
        EXPECT_EQ(tools::commandWireSize(LinkOptions{}, size), sealed.size()) << size;
        EXPECT_EQ(tools::commandWireSize(plainLink(), size), size);
    }
}

TEST(MapEditStore, KeepsTheLastEditPerRobotAcrossARestart) {
    robotest::TempDir dir;
    const std::string folder = dir.path() + "/state";
    LinkOptions first, second;
    first.host = "robot-a.local";
    second.host = "robot-b.local";
    {
        MapEditStore store(folder, first);
        EXPECT_FALSE(store.last());
        store.keep("{\"edit\": 1}");
        store.keep("{\"edit\": 2}");
        EXPECT_EQ(store.last(), "{\"edit\": 2}");
    }
    EXPECT_EQ(MapEditStore(folder, first).last(), "{\"edit\": 2}");
    EXPECT_FALSE(MapEditStore(folder, second).last());
    EXPECT_EQ(MapEditStore(folder, first).path(), folder + "/map-edit-robot-a.local-10001.json");
}

TEST(MapEditStore, ADamagedFileIsNotOfferedAndAFolderItCannotWriteIsSaid) {
    robotest::TempDir dir;
    const LinkOptions robot;
    MapEditStore store(dir.path(), robot);
    std::ofstream(store.path()) << "{\"cut\": ";
    EXPECT_FALSE(MapEditStore(dir.path(), robot).last());

    std::ofstream(dir.path() + "/file") << "not a folder";
    MapEditStore blocked(dir.path() + "/file/state", robot);
    try {
        blocked.keep("{}");
        ADD_FAILURE() << "kept in a folder that cannot exist";
    } catch (const Failure& failure) {
        EXPECT_EQ(failure.status(), Exit::Failed);
        EXPECT_NE(std::string(failure.what()).find("cannot create"), std::string::npos);
    }
    // The edit stays offered for as long as the console runs.
    EXPECT_EQ(blocked.last(), "{}");
}

TEST(Labels, TheBuiltInTableAndASitesFileGiveNamesAndSeverities) {
    tools::RobotCodes codes = tools::RobotCodes::builtIn();
    EXPECT_EQ(codes.labels()["status"]["2"]["label"], "stopped by an emergency");
    EXPECT_EQ(codes.labels()["status"]["2"]["severity"], "fatal");
    EXPECT_EQ(codes.labels()["errors"]["*"]["label"], "robot error");

    robotest::TempDir dir;
    const std::string site = dir.path() + "/labels.json";
    std::ofstream(site) << R"({"status": {"7": {"label": "cleaning", "severity": "info"}},
                               "errors": {"BATTERY-LOW": {"label": "Akku schwach", "severity": "warning"}}})";
    codes.applyFile(site);
    const Json::Value labels = codes.labels();
    EXPECT_EQ(labels["status"]["7"]["label"], "cleaning");
    EXPECT_EQ(labels["status"]["1"]["label"], "charging");
    EXPECT_EQ(labels["errors"]["BATTERY-LOW"]["label"], "Akku schwach");
    EXPECT_FALSE(labels["status"]["1"].isMember("meaning")) << "what the fleet reads stays out of the page's names";
}

TEST(Labels, ABadFileIsRefusedNamingTheFileAndTheEntry) {
    robotest::TempDir dir;
    const std::string site = dir.path() + "/labels.json";
    std::ofstream(site) << R"({"docking": {"3": {"label": "lost", "severity": "grave"}}})";
    tools::RobotCodes codes = tools::RobotCodes::builtIn();
    try {
        codes.applyFile(site);
        ADD_FAILURE() << "took a severity it does not know";
    } catch (const Failure& failure) {
        EXPECT_EQ(failure.status(), Exit::Usage);
        EXPECT_NE(std::string(failure.what()).find(site + ": robot codes: docking.3"), std::string::npos) << failure.what();
    }
    std::ofstream(site) << "{";
    EXPECT_THROW(codes.applyFile(site), Failure);
    EXPECT_THROW(codes.applyFile(dir.path() + "/missing.json"), Failure);
}

}  // namespace
}  // namespace robocomm::console
