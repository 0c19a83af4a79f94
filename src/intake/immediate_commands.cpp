#include "intake/immediate_commands.h"

#include <iostream>
#include <mutex>

#include "intake/mailbox_access.h"
#include "robocomm/files.h"
#include "robocomm/intake.h"
#include "robocomm/responses.h"
#include "robocomm/security.h"

namespace robocomm {

void printFirstByte(uint8_t code) { std::cout << "first Byte : " << static_cast<int>(code) << std::endl; }

void handleTimeData(const CommandSpec& command, const Inbound& in) {
    fillAndRaise(command, in);
    // Taking the command here means the host never finds TimeData pending.
    TimeData_t time{};
    reqSetTimeData(&time);
    setSystemTime(time);
    resSetTimeData(true);
}

void handleByPassOneData(const CommandSpec& command, const Inbound& in) {
    std::cout << "parseBypassOneData : " << in.message << std::endl;
    // A failed save must not hold back the edit itself.
    API_FileSave(in.text, mapEditFilePath, key, iv);
    ByPassOneData_t edit = parseBypassOneData(commandNode(in.root, command.key));
    const std::string uid = edit.uid;
    {
        std::lock_guard<std::mutex> lock(mailboxMutex());
        static_cast<ByPassOneData_t&>(globalSetByPassOne) = std::move(edit);
        storePending(*command.pending, 1);
    }
    std::cout << "Bypass One Data parsed. UID: " << uid << std::endl;
}

void handleOTA(const CommandSpec& command, const Inbound& in) {
    printFirstByte(command.code);
    fillAndRaise(command, in);
}

void handleOTAdata(const CommandSpec& command, const Inbound& in) {
    std::cout << "setOTADataIdx " << std::endl;
    std::string data;
    std::string checksum;
    {
        std::lock_guard<std::mutex> lock(mailboxMutex());
        fillParams(command, in.root);
        data = globalOTAdata.data;
        checksum = globalOTAdata.checksum;
    }
    // Hashing a large text takes long: the host's polls must not wait for it.
    const bool verified = verifySHA256(data, checksum);
    std::cout << "OTA Data : " << (verified ? "Pass" : "Fail") << std::endl;
    if (!verified) {
        resSetOTAdata(0, 15);
    }
    // A mismatch also withdraws an earlier OTAdata the host has not taken yet.
    storePending(*command.pending, verified ? 1 : 0);
}

void handleFactoryReset(const CommandSpec& command, const Inbound& in) {
    std::cout << "setFactoryResetIdx" << std::endl;
    fillAndRaise(command, in);
}

}  // namespace robocomm
