// SPDX-License-Identifier: Apache-2.0
#include "cli/CommandWords.h"

#include "cli/CommandTable.h"
#include "cli/Suggestion.h"
#include "cli/UsageError.h"
#include "query/QueryUsage.h"
#include "render/Text.h"

#include <fmt/format.h>

#include <algorithm>
#include <string_view>

namespace sysconfctl {
namespace {

std::string_view nameOf(Command command) {
    const auto& table = commandTable();
    return std::find_if(table.begin(), table.end(),
                        [&](const CommandRow& row) { return row.command == command; })
        ->name;
}

bool takesValue(const std::string& word) {
    const auto& table = optionTable();
    return std::any_of(table.begin(), table.end(), [&](const OptionRow& row) {
        return !row.value.empty() && (word == row.name || word == row.letter);
    });
}

bool isOneOf(const std::string& word, Option option) {
    const OptionRow& row = optionRow(option);
    return word == row.name || word == row.letter;
}

} // namespace

std::vector<std::string> commandFirst(std::vector<std::string> words) {
    auto word = words.begin();
    while (word != words.end() && word->size() > 1 && word->starts_with('-') && *word != "--") {
        if (isOneOf(*word, Option::Version)) {
            return {*word};
        }
        const bool hasValue = takesValue(*word) && word + 1 != words.end();
        word += hasValue ? 2 : 1;
    }
    if (word != words.end() && *word != "--") {
        std::rotate(words.begin(), word, word + 1);
    }
    return words;
}

void rejectCommand(const std::string& word) {
    std::vector<std::string_view> names;
    for (const CommandRow& row : commandTable()) {
        names.push_back(row.name);
    }
    std::vector<std::string> near = nearMatches(word, names);
    if (near.empty()) {
        near = nearQueries(word);
        for (std::string& query : near) {
            query.insert(0, fmt::format("{} ", nameOf(Command::Get)));
        }
    }
    throw UsageError(fmt::format("unknown command {}{} (sysconfctl help lists them)",
                                 shellWord(word), didYouMean(near)));
}

} // namespace sysconfctl
