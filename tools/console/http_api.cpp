#include "console/http_api.h"

#include <httplib.h>

#include <chrono>
#include <memory>
#include <mutex>

#include "common/exchange.h"
#include "common/json_text.h"
#include "common/transfers.h"
#include "common/vocabulary.h"
#include "console/assets.h"
#include "console/events.h"
#include "console/map_image.h"
#include "console/replies.h"
#include "common/session.h"
#include "robocomm/security.h"

namespace robocomm::console {

using namespace robocomm::tools;

namespace {

// An event stream that has said nothing for this long gets a comment line,
// so that proxies and the browser keep it open.
constexpr Millis kKeepAlive{15000};
// The map answer is large; browsers asking within this time share one.
constexpr Millis kMapReuse{2000};
// The largest firmware image taken (the robot's own limit is its memory).
constexpr size_t kMaxImage = 64u << 20;

bool sameText(const std::string& a, const std::string& b) {
    // Compares every byte whatever the first difference, so that the time
    // taken does not tell how much of a guess was right.
    unsigned char difference = a.size() != b.size();
    for (size_t i = 0; i < a.size() && i < b.size(); ++i) difference |= static_cast<unsigned char>(a[i] ^ b[i]);
    return difference == 0;
}

Json::Value vocabulary() {
    static const char* const kTypes[] = {"integer", "number", "boolean", "text"};
    Json::Value list(Json::arrayValue);
    for (const CommandSpec& command : commandTable()) {
        Json::Value entry;
        entry["name"] = kebabName(command);
        entry["code"] = command.code;
        entry["verb"] = command.kind == CommandKind::Get ? "get" : "set";
        entry["usage"] = synopsis(command);
        entry["remark"] = remark(command);
        entry["answered"] = expectsAnswer(command);
        entry["parameters"] = Json::arrayValue;
        for (const ParamSpec& param : command.params) {
            Json::Value p;
            p["name"] = param.key;
            p["type"] = kTypes[static_cast<int>(param.kind)];
            p["accepts"] = parameterType(param);
            p["unit"] = parameterUnit(param);
            entry["parameters"].append(p);
        }
        list.append(entry);
    }
    return list;
}

// The parameters of a JSON array body as the command line would give them.
std::vector<std::string> parameterWords(const std::string& body) {
    Json::Value root;
    std::string errors;
    if (body.empty()) return {};
    if (!parseJson(body, root, errors) || !root.isArray())
        throw Failure(Exit::Usage, "the body must be a JSON array of parameters ([] for none)");
    std::vector<std::string> words;
    for (const Json::Value& value : root) {
        if (value.isString()) words.push_back(value.asString());
        else if (value.isBool()) words.push_back(value.asBool() ? "true" : "false");
        else if (value.isNumeric()) words.push_back(numberText(value.asDouble()));
        else throw Failure(Exit::Usage, "a parameter must be a number, a boolean or a text");
    }
    return words;
}

// The commands that travel otherwise than as one answer document.
void checkPlainCommand(const CommandSpec& command) {
    if (command.code == kLogDataCode) throw Failure(Exit::Usage, "the log bundle comes with GET /api/log");
    if (command.code == kOtaDataCode) throw Failure(Exit::Usage, "a firmware image goes with POST /api/ota");
    if (command.code == kMapEditCode)
        throw Failure(Exit::Usage, "the map edit is a whole document: robocomm-client send 71 FILE");
}

void commandRoute(Session& session, EventHub& events, const httplib::Request& req, httplib::Response& res) {
    const CommandKind kind = req.matches[1] == "get" ? CommandKind::Get : CommandKind::Set;
    const CommandSpec* command = nullptr;
    try {
        command = &commandFor(kind, req.matches[2]);
    } catch (const Failure& unknown) {
        return replyError(res, 404, unknown.what());
    }
    checkPlainCommand(*command);
    const std::vector<std::string> words = parameterWords(req.body);
    if (words.size() != command->params.size())
        throw Failure(Exit::Usage, std::to_string(command->params.size()) + " parameters wanted: " + synopsis(*command));
    const Json::Value answer = session.request(*command, requestDocument(*command, words));
    // The acknowledged errors are no longer news for a page that loads now.
    if (command->code == kErrorCode) events.publish("error-list", Json::Value(), true);
    if (!refused(answer)) return reply(res, 200, answer);
    Json::Value body;
    body["error"] = "the robot refused " + kebabName(*command);
    body["answer"] = answer;
    reply(res, 422, body);
}

void eventsRoute(EventHub& events, httplib::Response& res) {
    res.set_header("Cache-Control", "no-store");
    auto cursor = std::make_shared<uint64_t>(0);
    auto fresh = std::make_shared<bool>(true);
    res.set_chunked_content_provider("text/event-stream", [&events, cursor, fresh](size_t, httplib::DataSink& sink) {
        if (events.closed()) {
            sink.done();
            return true;
        }
        std::string text;
        if (*fresh) {
            // Tells the browser how soon to reconnect, then what it missed.
            text = "retry: 1000\n\n" + events.snapshot(*cursor);
            *fresh = false;
        } else {
            text = events.next(*cursor, kKeepAlive);
            if (text.empty()) text = ": still here\n\n";
        }
        return sink.write(text.data(), text.size());
    });
}

void otaRoute(Session& session, EventHub& events, const httplib::Request& req, httplib::Response& res) {
    if (req.body.empty()) throw Failure(Exit::Usage, "the body must be the firmware image");
    bool accepted = false;
    session.run([&](Link& link) {
        accepted = sendFirmware(link, req.body, [&events](const FirmwareProgress& progress) {
            Json::Value event;
            event["sent"] = Json::UInt64(progress.sent);
            event["total"] = Json::UInt64(progress.total);
            event["robotPercent"] = progress.robotPercent;
            event["robotReceived"] = progress.robotReceived;
            events.publish("ota", event, false);
        });
    });
    Json::Value body;
    body["outcome"] = accepted ? "accepted" : "refused";
    body["bytes"] = Json::UInt64(req.body.size());
    body["sha256"] = calculateSHA256(req.body);
    if (!accepted) body["error"] = "the robot refused the firmware image";
    reply(res, accepted ? 200 : 422, body);
}

void logRoute(Session& session, EventHub& events, httplib::Response& res) {
    std::string archive;
    session.run([&](Link& link) {
        archive = fetchLogBundle(link, [&events](size_t got, size_t total) {
            Json::Value event;
            event["got"] = Json::UInt64(got);
            event["total"] = Json::UInt64(total);
            events.publish("log", event, false);
        });
    });
    res.set_header("Content-Disposition", "attachment; filename=\"robot-logs.tar.gz\"");
    res.set_header("Cache-Control", "no-store");
    res.set_content(archive, "application/gzip");
}

// The last map, shared by browsers that ask at nearly the same time.
class MapCache {
public:
    MapImage get(Session& session) {
        std::lock_guard<std::mutex> lock(mutex_);
        if (!fetched_ || Clock::now() - fetched_.value() > kMapReuse) {
            const CommandSpec& command = commandFor(CommandKind::Get, "map-data");
            map_ = mapImageFrom(answerBody(session.request(command, requestDocument(command, {}))));
            fetched_ = Clock::now();
        }
        return map_;
    }

private:
    std::mutex mutex_;
    std::optional<Clock::time_point> fetched_;
    MapImage map_;
};

void mapRoute(MapCache& cache, Session& session, httplib::Response& res) {
    const MapImage map = cache.get(session);
    // The robot redraws its map as it goes: the browser asks again each time.
    res.set_header("Cache-Control", "no-cache");
    res.set_header("X-Map-Resolution", numberText(map.resolution));
    res.set_header("X-Map-Origin", numberText(map.posX) + " " + numberText(map.posY));
    res.set_content(map.png, "image/png");
}

void assetRoute(const httplib::Request& req, httplib::Response& res) {
    const std::string path = req.matches[1].str().empty() ? "index.html" : req.matches[1].str();
    const Asset* asset = findAsset(path);
    if (!asset) return replyError(res, 404, "no such page: /" + path);
    res.set_header("Cache-Control", "no-cache");
    res.set_content(reinterpret_cast<const char*>(asset->data), asset->size, asset->type);
}

}  // namespace

void serveConsole(httplib::Server& server, Session& session, EventHub& events, const std::string& token) {
    server.set_payload_max_length(kMaxImage);
    if (!token.empty()) {
        server.set_pre_routing_handler([token](const httplib::Request& req, httplib::Response& res) {
            const std::string bearer = "Bearer " + token;
            if (sameText(req.get_header_value("Authorization"), bearer) || sameText(req.get_param_value("token"), token))
                return httplib::Server::HandlerResponse::Unhandled;
            replyError(res, 401, "this console wants its token (Authorization: Bearer TOKEN, or ?token=TOKEN)");
            return httplib::Server::HandlerResponse::Handled;
        });
    }
    server.set_error_handler([](const httplib::Request&, httplib::Response& res) {
        if (res.body.empty()) replyError(res, res.status, "no such resource");
    });
    auto map = std::make_shared<MapCache>();
    server.Get("/api/commands", [](const httplib::Request&, httplib::Response& res) { reply(res, 200, vocabulary()); });
    server.Post(R"(/api/(get|set)/([A-Za-z0-9_-]+))", [&session, &events](const httplib::Request& req, httplib::Response& res) {
        guarded(res, [&] { commandRoute(session, events, req, res); });
    });
    server.Get("/api/events", [&events](const httplib::Request&, httplib::Response& res) { eventsRoute(events, res); });
    server.Post("/api/ota", [&session, &events](const httplib::Request& req, httplib::Response& res) {
        guarded(res, [&] { otaRoute(session, events, req, res); });
    });
    server.Get("/api/log", [&session, &events](const httplib::Request&, httplib::Response& res) {
        guarded(res, [&] { logRoute(session, events, res); });
    });
    server.Get("/api/map.png", [map, &session](const httplib::Request&, httplib::Response& res) {
        guarded(res, [&] { mapRoute(*map, session, res); });
    });
    server.Get(R"(/([A-Za-z0-9_.-]*))", assetRoute);
}

}  // namespace robocomm::console
