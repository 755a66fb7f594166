#pragma once

#include <json/value.h>

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace sysconfctl {

/// Slot -> address, as a rule fills slots from address entries. What it throws ends the filling.
using Slots = std::map<std::string, std::string>;
using EntriesRule = std::function<void(const Json::Value& entries, Slots& slots)>;

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
    Fate fate = Fate::OtherTags;
    /// Its place: an index, or a name where an object stands in the array's place.
    std::string step;
    /// The slots that it fills, or would fill alone.
    std::vector<std::string> slots;
    /// The entry that has its slot.
    std::optional<std::size_t> winner;
};

/// Slot -> number of the entry that its address comes from.
struct Provenance {
    std::map<std::string, std::size_t> from;
    std::vector<EntryFate> entries;
    bool ended = false;
};

/// Finds out by asking the rule itself: over the entries with a mark for each address, over each
/// entry alone, and over the entries with one that no rule can take.
Provenance provenance(const Json::Value& entries, const EntriesRule& rule);

} // namespace sysconfctl
