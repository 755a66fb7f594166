// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "deployment/Cluster.h"
#include "explain/Prediction.h"
#include "explain/Reason.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// Searches the files, this host, and the answers, but no passwords.
namespace sysconfctl {

struct Appearance {
    /// "host", "node", "entry", "process", "database" or "value".
    std::string_view kind;
    std::string sentence;
    std::optional<ReasonPlace> place = std::nullopt;
    std::string node = {};
    /// Of an address entry: its place in the list, its address and its tags.
    std::string entry = {};
    std::string address = {};
    std::vector<std::string> tags = {};
};

/// An answer of `show`, masked.
struct AppearanceInAnswer {
    Reply reply;
    /// Items of a list, lines of a map, or the whole text; empty if large. Escaped.
    std::string part;
};

struct Appearances {
    std::string word;
    std::vector<Appearance> places;
    std::vector<AppearanceInAnswer> answers;
    std::string near;

    bool none() const { return places.empty() && answers.empty(); }
};

Appearances appearancesOf(const std::string& word, const Prediction& prediction,
                          const Cluster& cluster, bool revealSecrets);

std::string appearanceTable(const Appearances& found, std::size_t width, bool color);
/// Tab-separated: kind, sentence, place; for an answer "answer", query, text.
std::string appearancePlain(const Appearances& found);
std::string appearanceJson(const Appearances& found);

} // namespace sysconfctl
