#include "console/http_api.h"

#include <httplib.h>

#include <atomic>
#include <chrono>
#include <iostream>
#include <memory>
#include <mutex>
#include <thread>

#include "common/exchange.h"
#include "common/json_text.h"
#include "common/session.h"
#include "common/transfers.h"
#include "common/vocabulary.h"
#include "console/access.h"
#include "console/assets.h"
#include "console/events.h"
#include "console/map_image.h"
#include "console/parameters.h"
#include "console/replies.h"
#include "robocomm/security.h"

namespace robocomm::console {

using namespace robocomm::tools;

namespace {

// An event stream that has said nothing for this long gets a comment line,
// so that proxies and the browser keep it open.
constexpr Millis kKeepAlive{15000};
// The map answer is large; browsers asking within this time share one.
constexpr Millis kMapReuse{2000};
// Workers for requests; each open event stream holds one, so streams take
// at most a quarter of them and the API and the page always find one free.
// Streams beyond that are answered 503 at once (the browser retries).
constexpr size_t kWorkers = 32;
constexpr size_t kMaxStreams = kWorkers / 4;
// A stream ends after this long; the browser reconnects at once, and a
// stream whose reader vanished without a word does not hold a worker on.
constexpr Millis kStreamLifetime{10 * 60 * 1000};
// A client that stops sending its request frees its worker after this long.
constexpr time_t kIdleSeconds = 5;
// One request per connection. A request refused before its body was read
// leaves that body on the connection, and cpp-httplib would parse it as
// the next request, one that passed no check (a "Connection: close" answer
// does not stop it). Loopback connections are cheap to open again.
constexpr size_t kRequestsPerConnection = 1;
// A wrong token is answered this late, so that guessing stays slow.
constexpr Millis kWrongTokenDelay{500};
// The largest body httplib holds; the access checks refuse larger ones per
// route before reading them.
constexpr size_t kMaxBody = 64u << 20;
// Sent with every answer: no other site may frame the page (clickjacking
// the emergency stop), load its parts, or learn its address.
const std::pair<const char*, const char*> kSafetyHeaders[] = {
    {"X-Content-Type-Options", "nosniff"},
    {"X-Frame-Options", "DENY"},
    {"Content-Security-Policy",
     "default-src 'self'; img-src 'self' blob:; object-src 'none'; base-uri 'none'; form-action 'self'; "
     "frame-ancestors 'none'"},
    {"Referrer-Policy", "no-referrer"},
    {"Cross-Origin-Resource-Policy", "same-origin"},
};

// What a browser without the token gets for the page: a field for it.
const char kLoginPage[] = R"(<!doctype html>
<html lang="en">
<head><meta charset="utf-8"><title>robocomm console</title></head>
<body>
<h1>robocomm console</h1>
<p>This console wants its token. robocomm-console prints the address to open, with the token, when it starts.</p>
<form method="get" action="/"><label>Token <input name="token" type="password" autocomplete="off" required></label>
<button type="submit">Open</button></form>
</body>
</html>
)";

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
    const Json::Value answer = session.request(*command, commandDocument(*command, req.body));
    // The acknowledged errors are no longer news for a page that loads now.
    if (command->code == kErrorCode) events.publish("error-list", Json::Value(), true);
    if (!refused(answer)) return reply(res, 200, answer);
    Json::Value body;
    body["error"] = "the robot refused " + kebabName(*command);
    body["answer"] = answer;
    reply(res, 422, body);
}

// The event streams open now, each holding a worker.
class StreamCount {
public:
    // False when kMaxStreams are open already.
    bool take() {
        size_t now = open_.load();
        do {
            if (now >= kMaxStreams) return false;
        } while (!open_.compare_exchange_weak(now, now + 1));
        return true;
    }
    void give() { --open_; }

private:
    std::atomic<size_t> open_{0};
};

void eventsRoute(EventHub& events, const std::shared_ptr<StreamCount>& streams, httplib::Response& res) {
    if (!streams->take())
        return replyError(res, 503, "too many event streams open; the page tries again");
    res.set_header("Cache-Control", "no-store");
    auto cursor = std::make_shared<uint64_t>(0);
    auto fresh = std::make_shared<bool>(true);
    const Deadline end = Deadline::after(kStreamLifetime);
    const auto provide = [&events, cursor, fresh, end](size_t, httplib::DataSink& sink) {
        if (events.closed() || end.passed()) {
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
    };
    res.set_chunked_content_provider("text/event-stream", provide, [streams](bool) { streams->give(); });
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

void assetRoute(const std::string& startPage, const httplib::Request& req, httplib::Response& res) {
    const std::string path = req.matches[1].str().empty() ? startPage : req.matches[1].str();
    const Asset* asset = findAsset(path);
    if (!asset) return replyError(res, 404, "no such page: /" + path);
    res.set_header("Cache-Control", "no-cache");
    res.set_content(reinterpret_cast<const char*>(asset->data), asset->size, asset->type);
}

// Checks every request before it reaches a route (and before its body is
// read: see kRequestsPerConnection).
httplib::Server::HandlerResponse admit(const AccessRules& rules, const httplib::Request& req, httplib::Response& res) {
    for (const auto& [name, value] : kSafetyHeaders) res.set_header(name, value);
    const std::optional<Refusal> refused = refusal(rules, req);
    if (!refused) {
        if (tokenInAddress(rules, req))
            res.set_header("Set-Cookie", tokenCookie(rules) + "=" + rules.token + "; HttpOnly; SameSite=Strict; Path=/");
        return httplib::Server::HandlerResponse::Unhandled;
    }
    if (refused->kind == Refusal::Kind::Login) {
        res.status = refused->status;
        res.set_content(kLoginPage, "text/html; charset=utf-8");
        return httplib::Server::HandlerResponse::Handled;
    }
    if (refused->kind == Refusal::Kind::WrongToken) {
        std::cerr << "robocomm-console: wrong token from " << req.remote_addr << " for " << req.method << " "
                  << req.path << std::endl;
        std::this_thread::sleep_for(kWrongTokenDelay);
    }
    replyError(res, refused->status, refused->message);
    return httplib::Server::HandlerResponse::Handled;
}

}  // namespace

void servePage(httplib::Server& server, EventHub& events, const AccessRules& rules, const std::string& startPage) {
    server.new_task_queue = [] { return new httplib::ThreadPool(kWorkers); };
    server.set_payload_max_length(kMaxBody);
    server.set_keep_alive_max_count(kRequestsPerConnection);
    server.set_read_timeout(kIdleSeconds);
    server.set_write_timeout(kIdleSeconds);
    server.set_pre_routing_handler(
        [rules](const httplib::Request& req, httplib::Response& res) { return admit(rules, req, res); });
    server.set_error_handler([](const httplib::Request&, httplib::Response& res) {
        if (res.body.empty()) replyError(res, res.status, "no such resource");
    });
    auto streams = std::make_shared<StreamCount>();
    server.Get("/api/events", [&events, streams](const httplib::Request&, httplib::Response& res) {
        eventsRoute(events, streams, res);
    });
    server.Get(R"(/([A-Za-z0-9_.-]*))", [startPage](const httplib::Request& req, httplib::Response& res) {
        assetRoute(startPage, req, res);
    });
}

void serveConsole(httplib::Server& server, Session& session, EventHub& events, const AccessRules& rules) {
    servePage(server, events, rules, "index.html");
    auto map = std::make_shared<MapCache>();
    server.Get("/api/commands", [](const httplib::Request&, httplib::Response& res) { reply(res, 200, vocabulary()); });
    server.Post(R"(/api/(get|set)/([A-Za-z0-9_-]+))", [&session, &events](const httplib::Request& req, httplib::Response& res) {
        guarded(res, [&] { commandRoute(session, events, req, res); });
    });
    server.Post("/api/ota", [&session, &events](const httplib::Request& req, httplib::Response& res) {
        guarded(res, [&] { otaRoute(session, events, req, res); });
    });
    server.Get("/api/log", [&session, &events](const httplib::Request&, httplib::Response& res) {
        guarded(res, [&] { logRoute(session, events, res); });
    });
    server.Get("/api/map.png", [map, &session](const httplib::Request&, httplib::Response& res) {
        guarded(res, [&] { mapRoute(*map, session, res); });
    });
}

}  // namespace robocomm::console
