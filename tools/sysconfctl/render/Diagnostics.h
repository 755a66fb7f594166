#pragma once

#include <string_view>

/// What the tool says beside its output: one line each on standard error, as a sentence behind the
/// tool's name; or, where JSON is asked for, as
/// {"schemaVersion", "kind": "error" or "notice", "name", "text"}.
namespace sysconfctl {

/// What scripts tell complaints apart by.
namespace complaint {
inline constexpr std::string_view kUsage = "usage";
inline constexpr std::string_view kLibraryThrew = "library-threw";
inline constexpr std::string_view kDoesNotLoad = "does-not-load";
inline constexpr std::string_view kNoSuchNode = "no-such-node";
inline constexpr std::string_view kNoGraphviz = "no-graphviz";
inline constexpr std::string_view kOutput = "output";
inline constexpr std::string_view kInternal = "internal";
/// Notices of `watch`.
inline constexpr std::string_view kSubscribed = "subscribed";
inline constexpr std::string_view kNotSubscribed = "not-subscribed";
} // namespace complaint

/// From here on every complaint is JSON.
void complainInJson();

/// As far as standard error takes it. The sentence is escaped already.
void complain(std::string_view name, std::string_view sentence);
/// The same of something that is no error.
void notify(std::string_view name, std::string_view sentence);

} // namespace sysconfctl
