// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>
#include <vector>

/// Messages on standard error, one line each: the name of the tool and a sentence; or, if JSON
/// output is requested, {"schemaVersion", "kind": "error" or "notice", "name", "text"}.
namespace sysconfctl {

/// The names of the messages. Scripts rely on them.
namespace diagnostic {
inline constexpr std::string_view kUsage = "usage";
inline constexpr std::string_view kNothingSet = "nothing-set";
inline constexpr std::string_view kSecret = "secret";
inline constexpr std::string_view kLibraryThrew = "library-threw";
inline constexpr std::string_view kDoesNotLoad = "does-not-load";
inline constexpr std::string_view kNoSuchNode = "no-such-node";
inline constexpr std::string_view kNoMatch = "no-match";
inline constexpr std::string_view kNowhere = "nowhere";
inline constexpr std::string_view kNoGraphviz = "no-graphviz";
inline constexpr std::string_view kOutput = "output";
inline constexpr std::string_view kInternal = "internal";
inline constexpr std::string_view kNewerThanProcess = "newer-than-process";
inline constexpr std::string_view kSubscribed = "subscribed";
inline constexpr std::string_view kNotSubscribed = "not-subscribed";
inline constexpr std::string_view kNoVariable = "no-variable";
inline constexpr std::string_view kCannotRun = "cannot-run";
inline constexpr std::string_view kChanged = "changed";
inline constexpr std::string_view kEndedEarly = "ended-early";
inline constexpr std::string_view kNotEnded = "not-ended";
} // namespace diagnostic

/// The beginning of all later messages; "sysconfctl" by default.
void useToolName(std::string_view name);
void useJsonDiagnostics();

/// A failure to write is ignored. Values in the sentence are escaped or quoted by the caller.
void reportError(std::string_view name, std::string_view sentence);
void reportNotice(std::string_view name, std::string_view sentence);

void reportThrow(const std::string& queryLabel, const std::string& message);
void reportNewer(const std::vector<std::string>& sentences);
void reportUnloadedFiles(const std::vector<std::string>& troubles);
/// Errors if no node is accepted because of them.
void reportUnmatched(const std::vector<std::string>& errors,
                     const std::vector<std::string>& notices);

} // namespace sysconfctl
