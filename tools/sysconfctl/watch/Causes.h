// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "deployment/Sources.h"

#include <chrono>
#include <list>
#include <string>
#include <string_view>
#include <vector>

namespace sysconfctl {

/// What happened to a file or to the host's addresses, so that answers may change.
struct Cause {
    /// A word that scripts may rely on: "changed", "no-longer-loads", "loads-again",
    /// "host-addresses".
    std::string_view name;
    /// Which file and, if it does not load, where and why; unescaped.
    std::string sentence;
    /// Empty for the addresses.
    std::string file = {};
    /// When it was seen.
    std::chrono::system_clock::time_point time = {};
};

/// What happened between two states of a file; nothing if its text is the same.
std::vector<Cause> causesBetween(const SourceFile& before, const SourceFile& after);
std::vector<Cause> addressCauses(const std::list<std::string>& addressesBefore,
                                 const std::list<std::string>& addressesAfter);

/// Watches what the library takes from outside.
class Causes {
public:
    /// Reads the files of the environment.
    Causes() : m_sources(readSources()) {}

    /// Reads again what changed.
    /// @return What happened since the last call.
    std::vector<Cause> update();

    /// What happened since the last changes of answers. If that is nothing, what caused those,
    /// unless it is too long ago: the library applies a change of a file later than the file
    /// changes.
    std::vector<Cause> ofChanges();

private:
    Sources m_sources;
    /// Not yet followed by changes.
    std::vector<Cause> m_pending;
    std::vector<Cause> m_last;
};

} // namespace sysconfctl
