#include "common/exchange.h"

#include <string>

#include "common/vocabulary.h"

namespace robocomm::tools {

// The heartbeat is answered by the robot's control loop, so its answer
// proves that the robot read the command sent before it.
void confirmDelivery(Link& link, const CommandSpec& command, const MessageSink& passedBy) {
    link.sendCommand(kHeartbeatCode, requestDocument(findByCode(kHeartbeatCode), {}));
    try {
        link.awaitCode(kHeartbeatCode, passedBy);
    } catch (const Failure& failure) {
        if (failure.status() != Exit::Timeout) throw;
        throw link.silence("no sign that the robot read command " + std::to_string(command.code) +
                           " (the heartbeat sent after it went unanswered)");
    }
}

bool refused(const Json::Value& document) {
    const Json::Value& results = memberAt(document, {"Response", "Set"});
    if (!results.isObject()) return false;
    for (const std::string& name : results.getMemberNames()) {
        const Json::Value& result = memberAt(results[name], {"result"});
        if (result.isBool() && !result.asBool()) return true;
    }
    return false;
}

}  // namespace robocomm::tools
