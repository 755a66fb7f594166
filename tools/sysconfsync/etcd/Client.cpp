// SPDX-License-Identifier: Apache-2.0
#include "etcd/Client.h"

#include "etcd/Encoding.h"
#include "render/Json.h"
#include "render/Text.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

namespace sysconfsync {
namespace {

using sysconfctl::compactJson;
using sysconfctl::escaped;

std::string noAnswerText(std::chrono::milliseconds limit) {
    return fmt::format("no answer within {} ms", limit.count());
}

constexpr std::size_t kRounds = 3;
constexpr std::chrono::seconds kPause{1};
/// A watch without messages is renewed after that many times the limit of a call, because a member
/// that hangs keeps its connections.
constexpr int kIdleLimits = 6;

/// Status codes of gRPC.
enum Code { kCancelled = 1, kUnknown = 2, kDeadlineExceeded = 4, kUnavailable = 14 };
constexpr int kPermissionDenied = 7;
constexpr int kUnauthenticated = 16;

bool contains(const std::string& text, const char* part) {
    return text.find(part) != std::string::npos;
}

bool rejectsToken(std::int64_t code, const std::string& message) {
    return code == kUnauthenticated || contains(message, "invalid auth token") ||
           contains(message, "auth store is old");
}

bool isTransient(std::int64_t code) {
    return code == kCancelled || code == kUnknown || code == kDeadlineExceeded ||
           code == kUnavailable;
}

EtcdError errorOf(std::int64_t code, const std::string& message) {
    if (contains(message, "user name is empty")) {
        return {Failure::Denied, "etcd requires a user and a password"};
    }
    if (code == kPermissionDenied || code == kUnauthenticated ||
        contains(message, "authentication failed")) {
        return {Failure::Denied, "etcd denies access: " + escaped(message)};
    }
    if (contains(message, "too many operations") || contains(message, "request is too large") ||
        contains(message, "larger than max")) {
        return {Failure::TooLarge, "etcd rejects the request: " + escaped(message)};
    }
    if (contains(message, "has been compacted")) {
        return {Failure::Compacted, "etcd has deleted the history of that revision"};
    }
    return {Failure::Rejected, "etcd rejects the request: " + escaped(message)};
}

std::string textAt(const Json::Value& object, const char* member) {
    const Json::Value& value = object[member];
    return value.isString() ? value.asString() : "";
}

std::string clusterOf(const Json::Value& answer) {
    const Json::Value& header = answer["header"];
    return header.isObject() ? textAt(header, "cluster_id") : "";
}

} // namespace

struct Client::Attempt {
    std::optional<Json::Value> answer = std::nullopt;
    std::optional<WatchEnd> end = std::nullopt;
    /// Why there is no answer; another endpoint may have one.
    std::string trouble = {};
    bool sent = false;
    bool tokenRejected = false;

    /// Takes an error that a member reported.
    /// @throws EtcdError if another attempt would have the same result.
    void fail(const Json::Value& error) {
        const std::int64_t code = integerAt(error, error.isMember("code") ? "code" : "grpc_code");
        trouble = textAt(error, error.isMember("message") ? "message" : "error");
        tokenRejected = rejectsToken(code, trouble);
        if (!tokenRejected && !isTransient(code)) {
            throw errorOf(code, trouble);
        }
        trouble = escaped(trouble);
    }
};

Client::Client(Connection connection)
    : m_connection(std::move(connection)), m_transport(m_connection) {}

RangeResult Client::range(const Range& range) {
    return rangeResult(call("/v3/kv/range", toJson(range)));
}

TransactionResult Client::transact(const Transaction& transaction) {
    return transactionResult(call("/v3/kv/txn", toJson(transaction)));
}

Json::Value Client::call(const char* path, const Json::Value& request) {
    const std::string body = compactJson(request);
    std::vector<std::string> troubles;
    bool mayBeApplied = false;
    for (std::size_t round = 0; round < kRounds; ++round) {
        troubles.clear();
        bool accepted = false;
        for (std::size_t i = 0; i < m_connection.endpoints.size(); ++i) {
            try {
                Attempt done = attempt(path, body);
                if (done.answer) {
                    return std::move(*done.answer);
                }
                accepted = accepted || done.sent;
                troubles.push_back(describe(done.trouble));
            } catch (EtcdError& error) {
                error.mayBeApplied = mayBeApplied;
                throw;
            }
            mayBeApplied = mayBeApplied || accepted;
            nextEndpoint();
        }
        if (!accepted) {
            break;
        }
        if (round + 1 < kRounds) {
            sleep(kPause);
        }
    }
    EtcdError error(Failure::Unreachable,
                    "no etcd endpoint answers: " + sysconfctl::joined(troubles, "; "));
    error.mayBeApplied = mayBeApplied;
    throw error;
}

Client::Attempt Client::attempt(const char* path, const std::string& body) {
    for (bool renewed = false;; renewed = true) {
        if (!m_connection.user.empty() && m_token.empty()) {
            Attempt login = renewToken();
            if (!login.answer) {
                return login;
            }
        }
        Attempt done = exchange(path, body);
        if (!done.tokenRejected) {
            return done;
        }
        if (m_connection.user.empty() || renewed) {
            throw errorOf(kUnauthenticated, done.trouble);
        }
        m_token.clear();
    }
}

Client::Attempt Client::renewToken() {
    Json::Value request;
    request["name"] = m_connection.user;
    request["password"] = m_connection.password;
    Attempt login = exchange("/v3/auth/authenticate", compactJson(request));
    if (login.answer) {
        m_token = textAt(*login.answer, "token");
    }
    return login;
}

Client::Attempt Client::exchange(const char* path, const std::string& body) {
    std::string text;
    const Clock::time_point deadline = Clock::now() + m_connection.callLimit;
    const PostResult result =
        m_transport.post({.url = m_connection.endpoints[m_endpoint] + path,
                          .body = body,
                          .token = m_token,
                          .onData = [&](std::string_view data) { text += data; },
                          .remaining = [&] { return deadline - Clock::now(); }});
    Attempt done{.trouble = result.trouble, .sent = result.sent};
    if (result.end == PostEnd::TimedOut) {
        done.trouble = noAnswerText(m_connection.callLimit);
    }
    if (result.end != PostEnd::Answered) {
        return done;
    }
    constexpr long kOk = 200;
    try {
        const Json::Value answer = parsedObject(text);
        if (result.status != kOk) {
            done.fail(answer);
            return done;
        }
        m_clusterId = clusterOf(answer);
        done.answer = answer;
    } catch (const EtcdError& error) {
        if (error.reason != Failure::Malformed || result.status == kOk) {
            throw;
        }
        done.trouble = fmt::format("HTTP status {}", result.status);
    }
    return done;
}

std::string Client::describe(const std::string& trouble) const {
    return escaped(m_connection.endpoints[m_endpoint]) + ": " + trouble;
}

/// The messages of a watch: one JSON object per line.
class Client::Messages {
public:
    Messages(Watch& rest, const OnEvents& onEvents) : m_rest(rest), m_onEvents(onEvents) {}

    void add(std::string_view data) {
        m_last = Clock::now();
        m_text += data;
        std::size_t begin = 0;
        for (std::size_t end = 0; (end = m_text.find('\n', begin)) != std::string::npos;
             begin = end + 1) {
            take(m_text.substr(begin, end - begin));
        }
        m_text.erase(0, begin);
    }
    /// Takes the last line of a complete answer, which may have no line end.
    void finish() {
        if (!m_text.empty()) {
            take(std::exchange(m_text, {}));
        }
    }

    /// The time until the watch is renewed or fails for lack of messages; 0 if it has ended.
    Clock::duration remaining(std::chrono::milliseconds callLimit) const {
        if (attempt.end || !attempt.trouble.empty()) {
            return Clock::duration::zero();
        }
        const auto limit = created ? callLimit * kIdleLimits : callLimit;
        return std::min(m_last + limit, m_rest.deadline) - Clock::now();
    }

    Attempt attempt;
    std::string clusterId;
    bool created = false;
    bool hadEvents = false;

private:
    void take(const std::string& line) {
        if (attempt.end || !attempt.trouble.empty()) {
            return;
        }
        const Json::Value message = parsedObject(line);
        if (!message["result"].isObject()) {
            attempt.fail(message["error"].isObject() ? message["error"] : message);
            return;
        }
        const Json::Value& result = message["result"];
        clusterId = clusterOf(result);
        if (result["canceled"] == true) {
            cancel(result);
            return;
        }
        created = true;
        const std::vector<WatchEvent> events = watchEvents(result);
        if (!events.empty()) {
            hadEvents = true;
            m_rest.startRevision = events.back().key.modRevision + 1;
            if (!m_onEvents(events)) {
                attempt.end = WatchEnd::Stopped;
            }
        }
    }

    void cancel(const Json::Value& result) {
        if (const std::int64_t compacted = integerAt(result, "compact_revision")) {
            EtcdError error(Failure::Compacted, "etcd has deleted the history of that revision");
            error.compactRevision = compacted;
            throw error;
        }
        attempt.trouble = "the member ended the watch: " + escaped(textAt(result, "cancel_reason"));
        // Members report an expired token in this way, too.
        attempt.tokenRejected =
            contains(attempt.trouble, "permission denied") || rejectsToken(0, attempt.trouble);
    }

    Watch& m_rest;
    const OnEvents& m_onEvents;
    std::string m_text;
    Clock::time_point m_last = Clock::now();
};

Client::Attempt Client::watchOnce(const Watch& watch, Messages& messages) {
    if (!m_connection.user.empty() && m_token.empty()) {
        Attempt login = renewToken();
        if (!login.answer) {
            return login;
        }
    }
    Json::Value request = toJson(Range{watch.key, watch.end});
    request.removeMember("keys_only");
    request["start_revision"] = std::to_string(watch.startRevision);
    Json::Value body;
    body["create_request"] = request;
    const PostResult result =
        m_transport.post({.url = m_connection.endpoints[m_endpoint] + "/v3/watch",
                          .body = compactJson(body),
                          .token = m_token,
                          .wakeDescriptor = watch.wakeDescriptor,
                          .onData = [&](std::string_view data) { messages.add(data); },
                          .remaining = [&] { return messages.remaining(m_connection.callLimit); }});
    if (result.end == PostEnd::Answered) {
        messages.finish();
    }
    Attempt done = std::move(messages.attempt);
    if (!messages.clusterId.empty()) {
        m_clusterId = messages.clusterId;
    }
    if (done.end || !done.trouble.empty()) {
        return done;
    }
    if (result.end == PostEnd::Woken) {
        done.end = WatchEnd::Woken;
    } else if (Clock::now() >= watch.deadline) {
        done.end = WatchEnd::Expired;
    } else if (result.end != PostEnd::TimedOut) {
        done.trouble = result.end == PostEnd::Failed ? result.trouble : "the watch has ended";
    } else if (!messages.created) {
        done.trouble = noAnswerText(m_connection.callLimit);
    }
    return done;
}

WatchEnd Client::watch(const Watch& watch, const OnEvents& onEvents) {
    Watch rest = watch;
    std::vector<std::string> troubles;
    bool renewed = false;
    for (;;) {
        Messages messages(rest, onEvents);
        const Attempt done = watchOnce(rest, messages);
        if (done.end) {
            return *done.end;
        }
        if (messages.hadEvents || done.trouble.empty()) {
            troubles.clear();
            renewed = false;
        }
        if (done.trouble.empty()) {
            continue; // renewed at the same endpoint
        }
        if (done.tokenRejected) {
            if (m_connection.user.empty() || renewed) {
                throw errorOf(kPermissionDenied, done.trouble);
            }
            renewed = true;
            m_token.clear();
            continue;
        }
        troubles.push_back(describe(done.trouble));
        const std::size_t endpoints = m_connection.endpoints.size();
        if (troubles.size() == endpoints * kRounds) {
            throw EtcdError(
                Failure::Unreachable,
                "no etcd endpoint answers: " +
                    sysconfctl::joined(
                        {troubles.end() - static_cast<std::ptrdiff_t>(endpoints), troubles.end()},
                        "; "));
        }
        nextEndpoint();
        if (troubles.size() % endpoints == 0) {
            sleep(kPause);
        }
    }
}

} // namespace sysconfsync
