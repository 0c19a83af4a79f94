// Factory jig link: blocks from the jig wait in one slot per jig command
// number until the host collects them; blocks to the jig go out over UDP.
#include "robocomm/jig.h"

#include <mutex>
#include <utility>

#include "link/frame.h"
#include "link/log_lines.h"
#include "robocomm/link.h"

JigData_t jigDataArray[JIG_COMMAND_COUNT];

namespace {

// The receive thread stores while a host thread collects. The jig protocol is
// one block at a time, but a vector replaced under a reader would be torn
// memory, so each slot update and hand-over is made whole under this lock.
std::mutex tableMutex;

void reportInvalidCommand(int command) {
    robocomm::logErr() << "Invalid command: " << command;
}

}  // namespace

bool isValidCommand(int command) {
    // Unsigned, so that negative numbers fall outside the table too.
    return static_cast<unsigned int>(command) < static_cast<unsigned int>(JIG_COMMAND_COUNT);
}

void parseJigData(int command, const std::vector<unsigned char>& data) {
    if (!isValidCommand(command)) {
        reportInvalidCommand(command);
        return;
    }
    std::lock_guard<std::mutex> lock(tableMutex);
    JigData_t& slot = jigDataArray[command];
    if (slot.length > 0) {
        robocomm::logOut() << "Command " << command << " already has data. Overwriting existing data.";
    }
    slot.command = command;
    // An empty block is kept as one zero byte so that the slot reads as
    // occupied and the host still sees that the command arrived.
    slot.data = data.empty() ? std::vector<unsigned char>{0} : data;
    slot.length = static_cast<int32_t>(slot.data.size());
    robocomm::logOut() << "Data stored for command " << command;
}

bool API_RecvJigData(int command, std::vector<unsigned char>& out) {
    if (!isValidCommand(command)) {
        reportInvalidCommand(command);
        return false;
    }
    std::lock_guard<std::mutex> lock(tableMutex);
    JigData_t& slot = jigDataArray[command];
    if (slot.data.empty()) {
        return false;
    }
    out = std::move(slot.data);
    slot = JigData_t{};
    return true;
}

void API_SendJigData(int command, const std::vector<unsigned char>& data) {
    sendLargeData(data, static_cast<char>(command), static_cast<char>(robocomm::kKindJig));
}
