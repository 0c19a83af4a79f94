// The map-edit document parsers on their own.
#include <gtest/gtest.h>
#include <json/reader.h>
#include <json/value.h>

#include <sstream>

#include "intake_fixture.h"
#include "robocomm/intake.h"

namespace {

using intaketest::captureOutput;

Json::Value parse(const std::string& text) {
    Json::CharReaderBuilder builder;
    Json::Value root;
    std::string errors;
    std::istringstream stream(text);
    EXPECT_TRUE(Json::parseFromStream(builder, stream, &root, &errors)) << errors;
    return root;
}

std::vector<std::string> ids(const std::vector<BlockArea_t>& areas) {
    std::vector<std::string> out;
    for (const auto& area : areas) out.push_back(area.id);
    return out;
}

TEST(MapEditParsers, AnAreaWithoutRobotPathWipesTheAreasBeforeIt) {
    const Json::Value doc = parse(R"({
        "block_area": [{"id":"A","robot_path":[]}, {"id":"gap"}, {"id":"B","robot_path":[{"x":1,"y":1}]}],
        "block_wall": [{"id":"W1","robot_path":[]}, {"id":"W2","robot_path":null}]
    })");
    ByPassOneData_t edit;
    const auto output = captureOutput([&] { edit = parseBypassOneData(doc); });
    EXPECT_EQ(output.out, "robot_path is null in block_area\nrobot_path is null in block_wall\n");
    EXPECT_EQ(ids(edit.block_area), std::vector<std::string>{"B"});
    EXPECT_TRUE(edit.block_wall.empty());
}

TEST(MapEditParsers, AnEmptyPathKeepsItsArea) {
    const Json::Value doc = parse(R"({"block_area":[{"id":"A","robot_path":[],"image_path":[{"x":5,"y":6}]}]})");
    const auto output = captureOutput([&] {
        const ByPassOneData_t edit = parseBypassOneData(doc);
        ASSERT_EQ(edit.block_area.size(), 1u);
        EXPECT_TRUE(edit.block_area[0].robot_path.empty());
        ASSERT_EQ(edit.block_area[0].image_path.size(), 1u);
        EXPECT_EQ(edit.block_area[0].image_path[0].y, 6.0);
    });
    EXPECT_EQ(output.out, "");
}

TEST(MapEditParsers, ReadsEveryElementKindInOrder) {
    const Json::Value doc = parse(R"({
        "info": {"uid":"u","version":"v","modified":"m"},
        "room_list": [
            {"id":"r1","name":"Kitchen","color":"#fff","desc":"d","robot_path":[{"x":1,"y":2},{"x":3,"y":4}],
             "image_path":[{"x":10,"y":20}]},
            {"id":"r2"}
        ],
        "charging_station": [{"id":"c","robot_position":{"x":1.5,"y":-2},"image_position":{"x":7,"y":8}}],
        "init_position": [{"id":"i","robot_position":{"x":3}}]
    })");
    const ByPassOneData_t edit = parseBypassOneData(doc);
    EXPECT_EQ(edit.uid, "u");
    EXPECT_EQ(edit.version, "v");
    EXPECT_EQ(edit.modified, "m");
    ASSERT_EQ(edit.room_list.size(), 2u);
    const Room_t& kitchen = edit.room_list[0];
    EXPECT_EQ(kitchen.name, "Kitchen");
    EXPECT_EQ(kitchen.color, "#fff");
    EXPECT_EQ(kitchen.desc, "d");
    ASSERT_EQ(kitchen.robot_path.size(), 2u);
    EXPECT_EQ(kitchen.robot_path[1].x, 3.0);
    EXPECT_EQ(kitchen.image_path[0].x, 10.0);
    // Rooms have no null check: a room without paths is simply empty.
    EXPECT_TRUE(edit.room_list[1].robot_path.empty());
    ASSERT_EQ(edit.charging_station.size(), 1u);
    EXPECT_EQ(edit.charging_station[0].robot_position.x, 1.5);
    EXPECT_EQ(edit.charging_station[0].robot_position.y, -2.0);
    EXPECT_EQ(edit.charging_station[0].image_position.y, 8.0);
    ASSERT_EQ(edit.init_position.size(), 1u);
    EXPECT_EQ(edit.init_position[0].robot_position.x, 3.0);
    EXPECT_EQ(edit.init_position[0].robot_position.y, 0.0);
}

TEST(MapEditParsers, MissingPartsReadAsEmpty) {
    const Json::Value doc = parse("{}");
    const ByPassOneData_t edit = parseBypassOneData(doc);
    EXPECT_EQ(edit.uid, "");
    EXPECT_TRUE(edit.room_list.empty() && edit.block_area.empty() && edit.block_wall.empty() &&
                edit.charging_station.empty() && edit.init_position.empty());
    const Json::Value null;
    const ChargingStation_t station = parseChargingStation(null);
    EXPECT_EQ(station.id, "");
    EXPECT_EQ(station.robot_position.x, 0.0);
}

TEST(MapEditParsers, IntegerPointsReadAsDoubles) {
    const Position_t p = parsePosition(parse(R"({"x":3,"y":4})"));
    EXPECT_EQ(p.x, 3.0);
    EXPECT_EQ(p.y, 4.0);
}

TEST(MapEditParsers, NeverAddsMembersToTheDocument) {
    const Json::Value doc = parse(R"({"block_area":[{"id":"A"}],"room_list":[{}]})");
    const Json::Value before = doc;
    captureOutput([&] { parseBypassOneData(doc); });
    EXPECT_EQ(doc, before);
}

TEST(MapEditParsers, WrongKindsRaiseTheJsonError) {
    EXPECT_THROW(parsePosition(parse(R"({"x":{"a":1}})")), Json::LogicError);
    EXPECT_THROW(parseRoom(parse(R"({"name":{"a":1}})")), Json::LogicError);
    EXPECT_THROW(parseBypassOneData(parse(R"({"info":"text"})")), Json::LogicError);
}

}  // namespace
