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

/// What became of an address entry.
enum class Fate {
    Taken,       ///< its address is in the answer's slots
    Earlier,     ///< an earlier entry has its slot
    Later,       ///< a later entry took its slot over
    NotNeeded,   ///< its slot is asked for only where others are empty
    OtherTags,   ///< none of its tags is asked for
    NoTags,      ///< it has no tags
    NoList,      ///< its usage is no list and matches nothing
    Ends,        ///< it has a value that ends the rule
    NotLookedAt, ///< the rule had come to its end before
};

struct EntryFate {
    Fate fate = Fate::NotLookedAt;
    /// Its place: an index, or a name where an object is in the array's place.
    std::string step;
    /// The slots that it has; if it has none, those that it lost.
    std::vector<std::string> slots;
    /// The slots that it lost although it has others.
    std::vector<std::string> lost;
    /// The entry that has the slot that it lost.
    std::optional<std::size_t> winner;
    /// The value that ended the rule.
    std::optional<Quarncommon::rules::TypeMismatch> mismatch;
    /// A tag that was not taken and is probably misspelt, lower-cased; empty if there is none.
    std::string nearTag;
    std::string meantTag;
    located::Path nearTagPath;
};

/// A mistake in an entry that is probably the reason why a tag is not found.
struct Hint {
    std::string_view name;
    std::string sentence;
    std::string advice;
    /// The number of the step that shows it.
    std::size_t step = 0;
};

/// The entries that a rule walked, from its trace.
struct WalkedEntries {
    std::vector<EntryFate> entries;
    /// Slot -> number of the entry that its address comes from.
    std::map<std::string, std::size_t> from;
    /// The entries as a whole, or the node, have a type that the rule cannot take.
    std::optional<Quarncommon::rules::TypeMismatch> refused;
    /// The entry with the value that ended the rule; else the last one visited if others follow.
    std::optional<std::string> endedBy;
    std::optional<std::string> stoppedAt;
    /// The tags that the rule looks for.
    std::vector<AskedTag> asked;
    /// The first such mistake.
    std::optional<Hint> hint;

    /// How many entries lost a slot to another entry.
    std::size_t overridden() const;
};

/// The names under which slots are shown.
using SlotLabel = std::string (*)(const std::string& slot);

/// @param entries The value at `path`, the list of entries.
/// @param asked The tags that the rule looks for, to find misspelt ones.
WalkedEntries walkedEntries(const Json::Value& entries, const located::Path& path,
                            const std::vector<Quarncommon::rules::TraceEvent>& events,
                            SlotLabel label, const std::vector<AskedTag>& asked = {});

} // namespace sysconfctl
