#pragma once

#include "cli/CommandTable.h"

#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace sysconfctl {

/// The words in front of the cursor, understood as far as they can be.
class Typed {
public:
    /// @param words The last one is the word at the cursor, and does not count.
    explicit Typed(const std::vector<std::string>& words);

    const CommandRow* command = nullptr;
    /// What stands for a command is none.
    bool lost = false;
    std::vector<std::string> operands;
    /// The option whose value is to come.
    const OptionRow* open = nullptr;
    std::set<Option> given;
    bool optionsOver = false;
    std::optional<std::string> envFile;
    std::vector<std::string> sets;

    /// Those that may stand here.
    std::vector<Option> options() const;

    /// The option that the word names, or begins with: "--set", "--set=", "-o". Null if none does.
    const OptionRow* optionAt(std::string_view word) const;

private:
    void take(const std::string& word);
    void takeOption(const std::string& word);
    void give(const OptionRow& row, const std::string& value);
};

} // namespace sysconfctl
