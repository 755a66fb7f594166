// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "explain/NearMiss.h"
#include "located/Document.h"

#include <json/value.h>
#include <rules/Trace.h>

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace sysconfctl {

/// The result of an address entry under a rule.
enum class Fate {
    Taken,       ///< its address is in the answer's slots
    Earlier,     ///< an earlier entry has its slot
    Later,       ///< a later entry has its slot
    NotNeeded,   ///< its slot is used only if others are empty
    OtherTags,   ///< the rule looks for none of its tags
    NoTags,      ///< it has no tags
    NoList,      ///< its usage is not a list and matches nothing
    Ends,        ///< it has a value that stops the rule
    NotLookedAt, ///< the rule ended before this entry
};

struct EntryFate {
    Fate fate = Fate::NotLookedAt;
    /// Its place: an index, or a member name if there is an object instead of an array.
    std::string step;
    /// If it fills none, those that it lost.
    std::vector<std::string> slots;
    /// The slots that it lost while it fills others.
    std::vector<std::string> lost;
    std::optional<std::size_t> winner;
    std::optional<Quarncommon::rules::TypeMismatch> mismatch;
    /// Probably misspelt, lower-cased.
    std::string nearTag;
    std::string meantTag;
    located::Path nearTagPath;
};

struct Hint {
    std::string_view name;
    std::string sentence;
    std::string advice;
    std::size_t step = 0;
};

struct WalkedEntries {
    std::vector<EntryFate> entries;
    /// Slot -> index of the entry that provides its address.
    std::map<std::string, std::size_t> from;
    /// Set if the list of entries or the node has the wrong type.
    std::optional<Quarncommon::rules::TypeMismatch> refused;
    /// The entry whose value stopped the rule; else `stoppedAt` is the last one visited, if any
    /// follow.
    std::optional<std::string> endedBy;
    std::optional<std::string> stoppedAt;
    std::vector<AskedTag> asked;
    std::optional<Hint> hint;

    std::size_t overridden() const;
};

using SlotLabel = std::string (*)(const std::string& slot);

/// @param entries The value at `path`.
WalkedEntries walkedEntries(const Json::Value& entries, const located::Path& path,
                            const std::vector<Quarncommon::rules::TraceEvent>& events,
                            SlotLabel label, const std::vector<AskedTag>& asked = {});

} // namespace sysconfctl
