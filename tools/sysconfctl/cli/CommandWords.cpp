// SPDX-License-Identifier: Apache-2.0
#include "cli/CommandWords.h"

#include "cli/CommandTable.h"
#include "cli/HelpText.h"
#include "cli/Suggestion.h"
#include "cli/UsageError.h"
#include "query/QueryUsage.h"
#include "render/Text.h"

#include <fmt/format.h>

#include <algorithm>
#include <string_view>
#include <utility>

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

/// CLI11 expects that. Only --version stays, if it is given before the command.
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

/// CLI11 parses a positional in brackets as a list. A NUL byte after the bracket prevents that: no
/// argument of a process can contain one.
constexpr char kBracketGuard = '\0';

std::string guarded(std::string word) {
    const bool bracketed = word.size() >= 2 && word.front() == '[' && word.back() == ']';
    return bracketed ? std::move(word) + kBracketGuard : word;
}

/// Moves the words after "--" to the program, if the first one is a command that runs one. They are
/// not parsed: each one reaches the program verbatim.
void takeProgram(std::vector<std::string>& words, std::vector<std::string>& program) {
    const CommandRow* const row = commandNamed(words.front());
    const auto end = std::find(words.begin(), words.end(), "--");
    if (row != nullptr && row->operands == Operands::Program && end != words.end()) {
        program.assign(end + 1, words.end());
        words.erase(end, words.end());
    }
}

} // namespace

CommandWords commandWords(int argc, const char* const* argv) {
    if (argc < 2) {
        throw UsageError(overview());
    }
    CommandWords result;
    result.reversed = commandFirst({argv + 1, argv + argc});
    if (!result.reversed.front().starts_with('-') &&
        commandNamed(result.reversed.front()) == nullptr) {
        rejectCommand(result.reversed.front());
    }
    takeProgram(result.reversed, result.program);
    for (std::string& word : result.reversed) {
        word = guarded(std::move(word));
    }
    std::reverse(result.reversed.begin(), result.reversed.end());
    return result;
}

std::string unguarded(std::string text) {
    std::erase(text, kBracketGuard);
    return text;
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
