#include "common/tool_main.h"

#include <robocomm/link.h>

#include <iostream>

#include "common/failure.h"

namespace robocomm::tools {

int toolMain(const std::string& tool, const std::string& usage, const std::function<ToolRequest()>& parse,
             const std::function<int()>& serve) {
    try {
        const ToolRequest request = parse();
        if (request.help) {
            std::cout << usage;
            return 0;
        }
        if (request.version) {
            std::string version;
            APIGetVersion(version);
            std::cout << tool << ", robocomm library " << version << std::endl;
            return 0;
        }
        return serve();
    } catch (const Failure& failure) {
        std::cerr << tool << ": " << failure.what() << std::endl;
        return static_cast<int>(failure.status());
    }
}

}  // namespace robocomm::tools
