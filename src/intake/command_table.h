// The command vocabulary: one row per command code the parser accepts. The
// parser dispatches on it, and the operator-client tool builds its documents
// from it.
#pragma once

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

#include <json/value.h>

namespace robocomm {

enum class ParamKind { Int, Double, Bool, Text };

// The mailbox field a parameter is stored into; its type fixes the conversion.
using ParamField = std::variant<int32_t*, double*, bool*, std::string*>;

struct ParamSpec {
    const char* key;
    ParamKind kind;
    ParamField field;
};

enum class CommandKind { Get, Set };

// One inbound message as the parser sees it.
struct Inbound {
    const std::string& message;  // code byte and body, as received
    const std::string& text;     // the body deciphered, the plain document
    const Json::Value& root;     // the parsed document (null when it did not parse)
};

struct CommandSpec;
using CommandHandler = void (*)(const CommandSpec&, const Inbound&);

struct CommandSpec {
    uint8_t code;
    const char* name;
    CommandKind kind;
    // Key below Request/Set that the parameters lie under, nullptr if none is read.
    const char* key;
    // Keys below `key`, in the order the parser reads them.
    std::vector<ParamSpec> params;
    // Pending byte of the mailbox the command raises, nullptr if it raises none.
    uint8_t* pending;
    // What the parser does with the command: fill the fields and raise the
    // byte, plus any immediate work of the command.
    CommandHandler handle;
};

const std::vector<CommandSpec>& commandTable();
const CommandSpec* findCommand(uint8_t code);

// Parses a document with the reader's default settings. On failure prints
// "Failed to parse JSON: " and the reader's errors on standard output and
// returns false; root holds whatever was read.
bool parseDocument(const std::string& text, Json::Value& root);

// Request/Set/<key>: where a command's parameters live in its document.
const Json::Value& commandNode(const Json::Value& root, const char* key);

// Stores every parameter of the row into its mailbox field, in table order.
void fillParams(const CommandSpec& command, const Json::Value& root);
// Stores the parameters, then raises the pending byte: a plain command.
void fillAndRaise(const CommandSpec& command, const Inbound& in);

}  // namespace robocomm
