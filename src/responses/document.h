// The shared shape of every outbound document: the three fixed levels above
// the payload, the text writer, and the two ways a document leaves.
#pragma once

#include <json/value.h>

#include <cstring>
#include <functional>
#include <string>

namespace robocomm {

// Default writer settings on purpose: the client reads tab-indented text
// with sorted keys, 17 significant digits and escaped non-ASCII.
std::string writeDocument(const Json::Value& document);

// Offset of the closing quote of the empty "data" string in a written
// document. Binary payloads go there as base64, which needs no escaping: the
// writer would only scan and copy it several times over.
size_t emptyDataEnd(const std::string& text);

// `text` with the `length` characters `fill` writes at the pointer it gets
// placed into its empty "data" string, byte for byte what the writer makes of
// a document holding them.
template <typename Fill>
std::string withDataText(const std::string& text, size_t length, Fill fill) {
    const size_t at = emptyDataEnd(text);
    std::string out(text.size() + length, '\0');
    std::memcpy(out.data(), text.data(), at);
    fill(out.data() + at);
    std::memcpy(out.data() + at + length, text.data() + at, text.size() - at);
    return out;
}

// Whether the writer copies `text` into a JSON string as it is: printable
// ASCII without quotes or backslashes, which need no escaping.
bool writtenVerbatim(const std::string& text);

// Writes data characters [from, from + count) and returns where they are:
// at `scratch` (room for the count) or wherever they already lie.
using DataPiece = std::function<const char*(char* scratch, size_t from, size_t count)>;

// The answer withDataText would make of `text`, `length` characters of data
// given by `piece`, sent while it is written: the document is never held
// whole, only a piece of its data and a frame.
void sendAnswerWithData(const std::string& text, size_t length, const DataPiece& piece, int code);

// "Response" -> "Get" -> name, the body of a get answer. The body is
// created null, so a builder that sets nothing writes null there.
template <typename Fill>
std::string answerDocument(const char* name, Fill fill) {
    Json::Value document;
    fill(document["Response"]["Get"][name]);
    return writeDocument(document);
}

// "Emergency" -> "Send" -> name, the body of a pushed message.
template <typename Fill>
std::string pushDocument(const char* name, Fill fill) {
    Json::Value document;
    fill(document["Emergency"]["Send"][name]);
    return writeDocument(document);
}

// The client tells documents apart by the command code in the frame header,
// and answers to its commands (kind 2) from unasked pushes (kind 15).
void sendAnswer(const std::string& text, int code);
void sendPush(const std::string& text, int code);

}  // namespace robocomm
