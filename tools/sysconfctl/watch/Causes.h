// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "deployment/Sources.h"

#include <chrono>
#include <list>
#include <string>
#include <string_view>
#include <vector>

namespace sysconfctl {

struct Cause {
    /// A word that scripts may rely on: "changed", "no-longer-loads", "loads-again",
    /// "host-addresses".
    std::string_view name;
    /// Unescaped.
    std::string sentence;
    std::string file = {};
    std::chrono::system_clock::time_point time = {};
};

/// Empty if the text is the same.
std::vector<Cause> causesBetween(const SourceFile& before, const SourceFile& after);
std::vector<Cause> addressCauses(const std::list<std::string>& addressesBefore,
                                 const std::list<std::string>& addressesAfter);

class Causes {
public:
    Causes() : m_sources(readSources()) {}

    /// Reads changed files and the host's addresses again. Returns the changes since the last call.
    std::vector<Cause> update();

    /// The causes since answers last changed, or those of that last change unless they are too old:
    /// loaded answers change later than answers that are read on every call.
    std::vector<Cause> ofChanges();

private:
    Sources m_sources;
    /// Causes that no change of answers has followed yet.
    std::vector<Cause> m_pending;
    std::vector<Cause> m_last;
};

} // namespace sysconfctl
