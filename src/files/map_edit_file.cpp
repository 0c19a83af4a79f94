// Brings the last map edit the client sent back from the encrypted store:
// re-posted into its mailbox, or handed straight to the host.
#include <mutex>
#include <stdexcept>

#include <json/value.h>

#include "intake/command_table.h"
#include "intake/mailbox_access.h"
#include "link/log_lines.h"
#include "robocomm/files.h"
#include "robocomm/intake.h"
#include "robocomm/security.h"

namespace {

// Reads, deciphers and parses the stored request, then hands its map edit to
// useRecord. Every failure, exceptions included, ends in false with a line on
// standard output: nothing may escape to the host.
template <typename UseRecord>
bool withStoredMapEdit(const char* entryPoint, UseRecord useRecord) {
    try {
        robocomm::logOut() << "Starting " << entryPoint << "...";
        const std::string text = API_FileRead(mapEditFilePath, key);
        if (text.empty()) {
            robocomm::logOut() << "Failed to decrypt file or file is empty.";
            return false;
        }
        robocomm::logOut() << "Decrypted File Content: " << text;

        Json::Value root;
        if (!robocomm::parseDocument(text, root)) {
            return false;
        }
        // Read-only access: a document without the edit yields an empty record.
        useRecord(parseBypassOneData(robocomm::commandNode(root, "ByPass")));
        return true;
    } catch (const std::exception& e) {
        robocomm::logOut() << "Exception caught in " << entryPoint << ": " << e.what();
    } catch (...) {
        robocomm::logOut() << "Unknown error occurred in " << entryPoint << ".";
    }
    return false;
}

}  // namespace

bool API_FileDataApply() {
    return withStoredMapEdit("API_FileDataApply", [](const ByPassOneData_t& record) {
        // Posted exactly as the command parser posts a fresh request, under
        // the mailbox lock, so that a code 71 arriving meanwhile cannot tear it.
        {
            std::lock_guard<std::mutex> lock(robocomm::mailboxMutex());
            static_cast<ByPassOneData_t&>(globalSetByPassOne) = record;
            robocomm::storePending(globalSetByPassOne.pending, 1);
        }
        robocomm::logOut() << "Bypass One Data parsed successfully. UID: " << record.uid;
    });
}

bool API_FileDataRead(ByPassOneData_t* out) {
    return withStoredMapEdit("API_FileDataRead", [out](const ByPassOneData_t& record) { *out = record; });
}
