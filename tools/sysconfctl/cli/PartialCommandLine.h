// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "cli/CommandTable.h"

#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace sysconfctl {

/// The words before the cursor, parsed as far as possible.
class PartialCommandLine {
public:
    /// @param words The last one is the word at the cursor; it is ignored.
    explicit PartialCommandLine(const std::vector<std::string>& words);

    const CommandRow* command = nullptr;
    /// The first word that is not an option.
    bool commandUnknown = false;
    std::vector<std::string> operands;
    const OptionRow* pendingOption = nullptr;
    std::set<Option> given;
    /// "--" ends the options.
    bool optionsEnded = false;
    std::optional<std::string> envFile;
    std::vector<std::string> sets;
    std::vector<std::string> pids;

    std::vector<Option> options() const;

    /// "--set", "--set=", "-o". Null if the word begins with none.
    const OptionRow* optionAt(std::string_view word) const;

private:
    void parseWord(const std::string& word);
    void parseOption(const std::string& word);
    void setValue(const OptionRow& row, const std::string& value);
};

} // namespace sysconfctl
