// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "query/AskedQuery.h"
#include "query/Reply.h"
#include "watch/Causes.h"

#include <chrono>
#include <cstddef>
#include <string>
#include <vector>

namespace sysconfctl {

/// A reply, and a text that changes whenever the unmasked reply changes.
struct Observation {
    Reply reply;
    std::string identity;
};

std::vector<Observation> observe(const std::vector<AskedQuery>& asked, bool revealSecrets);

/// A pointer is null if the question was not asked then: a database was added or removed.
struct Change {
    const Reply* before;
    const Reply* after;
};

/// They are in the order of `after`, then the removed questions, and point into both vectors.
std::vector<Change> changes(const std::vector<Observation>& before,
                            const std::vector<Observation>& after);

using WallTime = std::chrono::system_clock::time_point;

std::string causeText(const Cause& cause, std::size_t width, bool color = false);

/// "2031-07-09T10:42:11.083Z"
std::string timeText(WallTime time);

/// The time and the query, then the lines before ("-") and after ("+") the change.
std::string changeText(const Change& change, WallTime time, std::size_t width, bool color = false);

/// For each line of an answer: the time, "=" for the initial answer, "-" for the old or "+" for the
/// new one, the query, and the text. The line of a cause has "!", no query, and the text.
std::string causePlain(const Cause& cause);
std::string answerPlain(const Reply& reply, WallTime time);
std::string changePlain(const Change& change, WallTime time);

/// One line of JSON: {"schemaVersion", "kind": "answer", "time"} and the members of the reply; or
/// {"schemaVersion", "kind": "change", "time", "query", "operation", "arguments", "old", "new"},
/// with "old" and "new" null or {"answered", "value"}, with "masked" and "error" as in a reply, and
/// "causes" with the sentences; or {"schemaVersion", "kind": "cause", "time", "name", "text"}, and
/// "file" if it is one.
std::string answerLine(const Reply& reply, WallTime time);
std::string changeLine(const Change& change, WallTime time, const std::vector<Cause>& causes = {});
std::string causeLine(const Cause& cause);

} // namespace sysconfctl
