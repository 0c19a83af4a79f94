// The map-edit document parsers on their own.
#include <gtest/gtest.h>
#include <json/value.h>

#include "intake/command_table.h"
#include "intake_fixture.h"
#include "robocomm/intake.h"

namespace {

Json::Value document(const std::string& text) {
    Json::Value root;
    EXPECT_TRUE(robocomm::parseDocument(text, root)) << text;
    return root;
}

// An empty path is no gap: only a missing or null one wipes what came before.
TEST(MapEditParsers, AnAreaWithoutRobotPathWipesTheAreasBeforeIt) {
    const Json::Value doc = document(R"({
        "block_area": [{"id":"A","robot_path":[]}, {"id":"gap"}, {"id":"B","robot_path":[]}],
        "block_wall": [{"id":"W1","robot_path":[{"x":1,"y":1}]}, {"id":"W2","robot_path":null}]
    })");
    ByPassOneData_t edit;
    const auto output = intaketest::captureOutput([&] { edit = parseBypassOneData(doc); });
    EXPECT_EQ(output.out, "robot_path is null in block_area\nrobot_path is null in block_wall\n");
    ASSERT_EQ(edit.block_area.size(), 1u);
    EXPECT_EQ(edit.block_area[0].id, "B");
    EXPECT_TRUE(edit.block_wall.empty());
}

TEST(MapEditParsers, ReadsEveryElementKind) {
    const ByPassOneData_t edit = parseBypassOneData(document(R"({
        "info": {"uid":"u","version":"v","modified":"m"},
        "room_list": [{"id":"r","name":"n","color":"c","desc":"d","robot_path":[],"image_path":[{"x":1,"y":2}]}],
        "charging_station": [{"id":"s","robot_position":{"x":1.5,"y":-2}}],
        "init_position": [{"id":"i","image_position":{"x":3}}]
    })"));
    EXPECT_EQ(edit.uid + edit.version + edit.modified, "uvm");
    // at() rather than [], so that a missing element fails the test instead of reading past the end.
    const Room_t& room = edit.room_list.at(0);
    EXPECT_EQ(room.id + room.name + room.color + room.desc, "rncd");
    EXPECT_EQ(room.image_path.at(0).y, 2.0);
    EXPECT_EQ(edit.charging_station.at(0).robot_position.y, -2.0);
    EXPECT_EQ(edit.init_position.at(0).image_position.x, 3.0);
}

}  // namespace
