// SPDX-License-Identifier: Apache-2.0
#include "explain/EntryFates.h"

#include <algorithm>
#include <set>
#include <variant>

namespace sysconfctl {
namespace {

namespace rules = Quarncommon::rules;

std::vector<std::string> stepsOf(const Json::Value& entries) {
    if (entries.isObject()) {
        return entries.getMemberNames();
    }
    std::vector<std::string> steps;
    for (Json::ArrayIndex i = 0; entries.isArray() && i < entries.size(); ++i) {
        steps.push_back(std::to_string(i));
    }
    return steps;
}

class Walk {
public:
    Walk(const Json::Value& entries, const located::Path& path, SlotLabel label,
         const std::vector<AskedTag>& asked)
        : m_entries(entries), m_path(path), m_label(label), m_asked(asked),
          m_steps(stepsOf(entries)), m_seen(m_steps.size()) {
        for (std::size_t i = 0; i < m_steps.size(); ++i) {
            m_numbers[m_steps[i]] = i;
        }
    }

    void operator()(const rules::EntryVisited& event) {
        if (Seen* const entry = at(event.path)) {
            entry->visited = true;
        }
    }
    void operator()(const rules::TagCompared& event) {
        if (Seen* const entry = at(event.path)) {
            entry->tagged = true;
            entry->keepMiss();
            entry->candidate = {event.tag, meantTag(event.tag, m_asked), event.path};
        }
    }
    void operator()(const rules::TypeMismatch& event) {
        if (Seen* const entry = at(event.path)) {
            entry->mismatch = event;
        } else if (!m_refused) {
            m_refused = event;
        }
    }
    void operator()(const rules::SlotFilled& event) { slot(event.path, event.slot, true); }
    void operator()(const rules::SlotKept& event) { slot(event.path, event.slot, false); }
    void operator()(const rules::SlotNotNeeded& event) { m_from.erase(event.slot); }
    template <typename Other>
    void operator()(const Other& /*event*/) {}

    WalkedEntries result() const {
        WalkedEntries walked{{}, m_from, m_refused, {}, {}, m_asked, {}};
        for (std::size_t i = 0; !m_refused && i < m_steps.size(); ++i) {
            walked.entries.push_back(fateOf(i));
            if (m_seen[i].mismatch) {
                walked.endedBy = m_steps[i];
            }
            if (m_seen[i].visited) {
                walked.stoppedAt = m_steps[i];
            }
        }
        return walked;
    }

private:
    struct Seen {
        bool visited = false;
        bool tagged = false;
        std::optional<rules::TypeMismatch> mismatch;
        /// The last tag compared, and the first one that was not taken and is misspelt.
        NearMiss candidate;
        NearMiss miss;
        std::set<std::string> slots;

        void keepMiss() {
            if (miss.meant.empty() && !candidate.meant.empty()) {
                miss = candidate;
            }
        }
    };

    Seen* at(const located::Path& path) {
        const bool below =
            path.size() > m_path.size() && std::equal(m_path.begin(), m_path.end(), path.begin());
        const auto number = below ? m_numbers.find(path[m_path.size()]) : m_numbers.end();
        return number != m_numbers.end() ? &m_seen[number->second] : nullptr;
    }

    void slot(const located::Path& path, const std::string& slot, bool taken) {
        if (Seen* const entry = at(path)) {
            const std::string name = m_label(slot);
            entry->slots.insert(name);
            entry->candidate = {}; // the tag is taken
            if (taken) {
                m_from[name] = static_cast<std::size_t>(entry - m_seen.data());
            }
        }
    }

    EntryFate fateOf(std::size_t number) const {
        Seen entry = m_seen[number];
        entry.keepMiss();
        EntryFate fate;
        fate.nearTag = entry.miss.name;
        fate.meantTag = entry.miss.meant;
        fate.nearTagPath = entry.miss.path;
        fate.step = m_steps[number];
        fate.mismatch = entry.mismatch;
        if (!entry.visited) {
            return fate;
        }
        if (entry.mismatch) {
            fate.fate = Fate::Ends;
        } else if (entry.slots.empty()) {
            fate.fate = withoutSlot(fate.step, entry);
        } else {
            withSlots(number, entry, fate);
        }
        return fate;
    }

    Fate withoutSlot(const std::string& step, const Seen& entry) const {
        const Json::Value& value = m_entries.isObject()
                                       ? m_entries[step]
                                       : m_entries[static_cast<Json::ArrayIndex>(std::stoul(step))];
        const Json::Value& usage = value.isObject() ? value["usage"] : Json::Value::nullSingleton();
        if (entry.tagged) {
            return Fate::OtherTags;
        }
        return usage.isNull() || usage.isArray() ? Fate::NoTags : Fate::NoList;
    }

    void withSlots(std::size_t number, const Seen& entry, EntryFate& fate) const {
        std::vector<std::string> lost;
        std::vector<std::string> unneeded;
        for (const std::string& slot : entry.slots) {
            const auto has = m_from.find(slot);
            if (has == m_from.end()) {
                unneeded.push_back(slot);
            } else if (has->second == number) {
                fate.slots.push_back(slot);
            } else {
                lost.push_back(slot);
                fate.winner = has->second;
            }
        }
        std::vector<std::string>& other = lost.empty() ? unneeded : lost;
        if (!fate.slots.empty()) {
            fate.fate = Fate::Taken;
            fate.lost = std::move(other);
            return;
        }
        fate.slots = std::move(other);
        fate.fate = !fate.winner            ? Fate::NotNeeded
                    : *fate.winner < number ? Fate::Earlier
                                            : Fate::Later;
    }

    const Json::Value& m_entries;
    const located::Path& m_path;
    SlotLabel m_label;
    const std::vector<AskedTag>& m_asked;
    std::vector<std::string> m_steps;
    std::vector<Seen> m_seen;
    std::map<std::string, std::size_t> m_numbers;
    std::map<std::string, std::size_t> m_from;
    std::optional<rules::TypeMismatch> m_refused;
};

} // namespace

std::size_t WalkedEntries::overridden() const {
    return static_cast<std::size_t>(
        std::count_if(entries.begin(), entries.end(),
                      [](const EntryFate& entry) { return entry.winner.has_value(); }));
}

WalkedEntries walkedEntries(const Json::Value& entries, const located::Path& path,
                            const std::vector<rules::TraceEvent>& events, SlotLabel label,
                            const std::vector<AskedTag>& asked) {
    Walk walk(entries, path, label, asked);
    for (const rules::TraceEvent& event : events) {
        std::visit(walk, event);
    }
    return walk.result();
}

} // namespace sysconfctl
