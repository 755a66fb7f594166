#pragma once

#include "Reply.h"

#include <chrono>
#include <string>
#include <vector>

namespace sysconfctl {

/// A reply with something to tell it apart by, secrets included.
struct Observation {
    Reply reply;
    std::string identity;
};

/// Everything there is to ask, asked once.
std::vector<Observation> observe(bool revealSecrets);

/// A difference between two observations of one query with its arguments. Null where it was not
/// asked: a database has come or gone.
struct Change {
    const Reply* before;
    const Reply* after;
};

/// In the order of the later ones, then what has gone. Points into both.
std::vector<Change> changes(const std::vector<Observation>& before,
                            const std::vector<Observation>& after);

using WallTime = std::chrono::system_clock::time_point;

/// "2031-07-09T10:42:11.083Z"
std::string timeText(WallTime time);

/// A line with the time and the query, below it what was ("-") and what is ("+").
std::string changeText(const Change& change, WallTime time);

/// One line of JSON: {"schemaVersion", "kind": "answer", "time"} and the members of the reply; or
/// {"schemaVersion", "kind": "change", "time", "query", "operation", "arguments", "old", "new"},
/// with "old" and "new" null or {"answered", "value"}, with "masked" and "error" as in a reply.
std::string answerLine(const Reply& reply, WallTime time);
std::string changeLine(const Change& change, WallTime time);

} // namespace sysconfctl
