#pragma once

#include "query/Reply.h"

#include <chrono>
#include <cstddef>
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

/// A line with the time and the query, below it what was ("-") and what is ("+"), each at most
/// `width` columns wide.
std::string changeText(const Change& change, WallTime time, std::size_t width, bool color = false);

/// A line for each line of an answer: the time, "=" for what is at the beginning, "-" for what was
/// or "+" for what is, the query, and the text, behind a tab each.
std::string answerPlain(const Reply& reply, WallTime time);
std::string changePlain(const Change& change, WallTime time);

/// One line of JSON: {"schemaVersion", "kind": "answer", "time"} and the members of the reply; or
/// {"schemaVersion", "kind": "change", "time", "query", "operation", "arguments", "old", "new"},
/// with "old" and "new" null or {"answered", "value"}, with "masked" and "error" as in a reply.
std::string answerLine(const Reply& reply, WallTime time);
std::string changeLine(const Change& change, WallTime time);

} // namespace sysconfctl
