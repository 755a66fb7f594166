// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "deployment/Sources.h"

#include <chrono>
#include <list>
#include <string>
#include <string_view>
#include <vector>

namespace sysconfctl {

/// A change of a file or of the host's addresses that may change answers.
struct Cause {
    /// A word that scripts may rely on: "changed", "no-longer-loads", "loads-again",
    /// "host-addresses".
    std::string_view name;
    /// Describes the change: the file and, if it does not load, where and why. Unescaped.
    std::string sentence;
    /// The path of the file; empty for a change of addresses.
    std::string file = {};
    /// When the change was detected.
    std::chrono::system_clock::time_point time = {};
};

/// The change between two states of a file; empty if the text is the same.
std::vector<Cause> causesBetween(const SourceFile& before, const SourceFile& after);
std::vector<Cause> addressCauses(const std::list<std::string>& addressesBefore,
                                 const std::list<std::string>& addressesAfter);

/// Watches the inputs of the library.
class Causes {
public:
    /// Reads the files of the environment.
    Causes() : m_sources(readSources()) {}

    /// Reads changed files and the host's addresses again.
    /// @return The changes since the last call.
    std::vector<Cause> update();

    /// The causes since answers last changed. If there are none, the causes of that last change are
    /// returned again, unless they are too old: after a change of a file, loaded answers change
    /// later than answers that are read on every call.
    std::vector<Cause> ofChanges();

private:
    Sources m_sources;
    /// Causes that no change of answers has followed yet.
    std::vector<Cause> m_pending;
    std::vector<Cause> m_last;
};

} // namespace sysconfctl
