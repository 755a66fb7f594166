// SPDX-License-Identifier: Apache-2.0
#include "cli/PartialCommandLine.h"

#include <algorithm>

namespace sysconfctl {
PartialCommandLine::PartialCommandLine(const std::vector<std::string>& words) {
    for (std::size_t i = 0; i + 1 < words.size(); ++i) {
        parseWord(words[i]);
    }
}

std::vector<Option> PartialCommandLine::options() const {
    if (command != nullptr) {
        return optionsOf(*command);
    }
    std::vector<Option> options = commonOptions();
    options.insert(options.end(), {Option::Help, Option::Version});
    return options;
}

const OptionRow* PartialCommandLine::optionAt(std::string_view word) const {
    const std::vector<Option> known = options();
    for (const OptionRow& row : optionTable()) {
        if (command != nullptr &&
            std::find(known.begin(), known.end(), row.option) == known.end()) {
            continue;
        }
        const bool named = word.substr(0, word.find('=')) == row.name;
        if (named ||
            (!row.letter.empty() && word.starts_with(row.letter) && !word.starts_with("--"))) {
            return &row;
        }
    }
    return nullptr;
}

void PartialCommandLine::parseWord(const std::string& word) {
    if (pendingOption != nullptr) {
        setValue(*pendingOption, word);
        pendingOption = nullptr;
    } else if (!optionsEnded && word == "--") {
        optionsEnded = true;
    } else if (!optionsEnded && word.size() > 1 && word.front() == '-') {
        parseOption(word);
    } else if (command == nullptr) {
        command = commandNamed(word);
        commandUnknown = commandUnknown || command == nullptr;
    } else {
        operands.push_back(word);
    }
}

void PartialCommandLine::parseOption(const std::string& word) {
    const OptionRow* const row = optionAt(word);
    if (row == nullptr) {
        return;
    }
    given.insert(row->option);
    const std::size_t equals = word.find('=');
    if (row->value.empty()) {
        return;
    }
    if (word == row->name || word == row->letter) {
        pendingOption = row;
    } else if (equals != std::string::npos) {
        setValue(*row, word.substr(equals + 1));
    }
}

void PartialCommandLine::setValue(const OptionRow& row, const std::string& value) {
    if (row.option == Option::EnvFile) {
        envFile = value;
    } else if (row.option == Option::Set) {
        sets.push_back(value);
    } else if (row.option == Option::Pid) {
        pids.push_back(value);
    }
}

} // namespace sysconfctl
