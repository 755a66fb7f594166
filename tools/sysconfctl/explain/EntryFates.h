#pragma once

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
    Ends,        ///< the rule cannot take it and ends
    NotLookedAt, ///< the rule had come to its end before
};

struct EntryFate {
    Fate fate = Fate::NotLookedAt;
    /// Its place: an index, or a name where an object is in the array's place.
    std::string step;
    /// The slots that it has, or that it lost.
    std::vector<std::string> slots;
    /// The entry that has its slot.
    std::optional<std::size_t> winner;
};

/// The entries that a rule walked, from its trace.
struct WalkedEntries {
    std::vector<EntryFate> entries;
    /// Slot -> number of the entry that its address comes from.
    std::map<std::string, std::size_t> from;
    /// The entries as a whole are of a type that the rule cannot take.
    bool refused = false;
};

/// The names under which slots are shown.
using SlotLabel = std::string (*)(const std::string& slot);

/// @param entries The value at `path`, the list of entries.
WalkedEntries walkedEntries(const Json::Value& entries, const located::Path& path,
                            const std::vector<Quarncommon::rules::TraceEvent>& events,
                            SlotLabel label);

} // namespace sysconfctl
