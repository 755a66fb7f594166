#include "cli/PartialCommandLine.h"

#include <algorithm>

namespace sysconfctl {
namespace {

const CommandRow* commandNamed(std::string_view name) {
    const auto& table = commandTable();
    const auto found = std::find_if(table.begin(), table.end(),
                                    [&](const CommandRow& row) { return row.name == name; });
    return found != table.end() ? &*found : nullptr;
}

} // namespace

Typed::Typed(const std::vector<std::string>& words) {
    for (std::size_t i = 0; i + 1 < words.size(); ++i) {
        take(words[i]);
    }
}

std::vector<Option> Typed::options() const {
    if (command != nullptr) {
        return optionsOf(*command);
    }
    std::vector<Option> options = commonOptions();
    options.insert(options.end(), {Option::Help, Option::Version});
    return options;
}

const OptionRow* Typed::optionAt(std::string_view word) const {
    for (const Option option : options()) {
        const OptionRow& row = optionRow(option);
        const bool named = word.substr(0, word.find('=')) == row.name;
        if (named ||
            (!row.letter.empty() && word.starts_with(row.letter) && !word.starts_with("--"))) {
            return &row;
        }
    }
    return nullptr;
}

void Typed::take(const std::string& word) {
    if (open != nullptr) {
        give(*open, word);
        open = nullptr;
    } else if (!optionsOver && word == "--") {
        optionsOver = true;
    } else if (!optionsOver && word.size() > 1 && word.front() == '-') {
        takeOption(word);
    } else if (command == nullptr) {
        command = commandNamed(word);
        lost = lost || command == nullptr;
    } else {
        operands.push_back(word);
    }
}

void Typed::takeOption(const std::string& word) {
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
        open = row;
    } else if (equals != std::string::npos) {
        give(*row, word.substr(equals + 1));
    }
}

void Typed::give(const OptionRow& row, const std::string& value) {
    if (row.option == Option::EnvFile) {
        envFile = value;
    } else if (row.option == Option::Set) {
        sets.push_back(value);
    }
}

} // namespace sysconfctl
