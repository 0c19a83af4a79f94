#include <gtest/gtest.h>

#include <climits>
#include <iostream>
#include <string>
#include <vector>

#include "robocomm/jig.h"

namespace {

using Bytes = std::vector<unsigned char>;

// The table is process-wide: every test starts and ends with it empty.
class JigTableTest : public testing::Test {
protected:
    void SetUp() override { emptyTable(); }
    void TearDown() override {
        emptyTable();
        // Jig traffic leaves standard output in hexadecimal on purpose.
        std::cout << std::dec;
    }

    static void emptyTable() {
        for (JigData_t& slot : jigDataArray) slot = JigData_t{};
    }

    static bool tableIsEmpty() {
        for (const JigData_t& slot : jigDataArray) {
            if (slot.command != 0 || slot.length != 0 || !slot.data.empty()) return false;
        }
        return true;
    }

    static std::string store(int command, const Bytes& data) {
        testing::internal::CaptureStdout();
        parseJigData(command, data);
        return testing::internal::GetCapturedStdout();
    }
};

TEST_F(JigTableTest, OnlyCommandsZeroToTwentyNineAreValid) {
    const struct {
        int command;
        bool valid;
    } cases[] = {{0, true}, {29, true}, {30, false}, {-1, false}, {INT_MIN, false}, {INT_MAX, false}};
    for (const auto& c : cases) EXPECT_EQ(isValidCommand(c.command), c.valid) << c.command;
}

TEST_F(JigTableTest, BlockIsStoredThenHandedOutOnce) {
    EXPECT_EQ(store(29, {1, 2, 3}), "Data stored for command 29\n");
    EXPECT_EQ(jigDataArray[29].command, 29);
    EXPECT_EQ(jigDataArray[29].length, 3);

    Bytes out = {9, 9, 9, 9, 9};
    EXPECT_TRUE(API_RecvJigData(29, out));
    EXPECT_EQ(out, (Bytes{1, 2, 3}));
    EXPECT_TRUE(tableIsEmpty());

    EXPECT_FALSE(API_RecvJigData(29, out));
    EXPECT_EQ(out, (Bytes{1, 2, 3}));
}

TEST_F(JigTableTest, OutOfRangeCommandsChangeNothing) {
    for (const int command : {30, -1}) {
        testing::internal::CaptureStderr();
        const std::string out = store(command, {1});
        EXPECT_EQ(testing::internal::GetCapturedStderr(), "Invalid command: " + std::to_string(command) + "\n");
        EXPECT_EQ(out, "");
        EXPECT_TRUE(tableIsEmpty());

        Bytes taken = {7};
        testing::internal::CaptureStderr();
        EXPECT_FALSE(API_RecvJigData(command, taken));
        EXPECT_EQ(testing::internal::GetCapturedStderr(), "Invalid command: " + std::to_string(command) + "\n");
        EXPECT_EQ(taken, Bytes{7});
    }
}

TEST_F(JigTableTest, EmptyBlockIsKeptAsOneZeroByte) {
    store(4, {});
    EXPECT_EQ(jigDataArray[4].length, 1);
    Bytes out = {5, 5};
    EXPECT_TRUE(API_RecvJigData(4, out));
    EXPECT_EQ(out, Bytes{0});
}

TEST_F(JigTableTest, SecondStoreOverwritesWithOneNotice) {
    EXPECT_EQ(store(5, {1, 1}), "Data stored for command 5\n");
    EXPECT_EQ(store(5, {2}), "Command 5 already has data. Overwriting existing data.\nData stored for command 5\n");
    EXPECT_EQ(jigDataArray[5].length, 1);
    Bytes out;
    EXPECT_TRUE(API_RecvJigData(5, out));
    EXPECT_EQ(out, Bytes{2});
}

TEST_F(JigTableTest, FreeSlotLeavesTheCallersVectorAlone) {
    store(3, {1});
    Bytes out = {8, 8};
    testing::internal::CaptureStderr();
    EXPECT_FALSE(API_RecvJigData(2, out));
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(out, (Bytes{8, 8}));
    EXPECT_EQ(jigDataArray[3].length, 1);
}

}  // namespace
