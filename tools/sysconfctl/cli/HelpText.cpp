// SPDX-License-Identifier: Apache-2.0
#include "cli/HelpText.h"

#include "cli/CommandTable.h"
#include "render/Text.h"

#include <fmt/format.h>

#include <algorithm>

namespace sysconfctl {
namespace {

constexpr const char* kEnvironmentFiles = R"(
Environment files have KEY=VALUE lines and comments (#). Relative values of
APP_CONF_FILE, APP_ROOT and TOLM_ROOT start at the file's own folder; these
three and PROCESS_INSTANCE_ID are unset if the file does not set them.)";

} // namespace

std::string overview() {
    std::string text = "a command is required\n\nUsage: sysconfctl COMMAND [OPTIONS]\n\n";
    for (const CommandRow& row : commandTable()) {
        text += fmt::format("  {:<10}{}\n", row.name, row.help);
    }
    return text + "\nsysconfctl help COMMAND shows the options and arguments of a command";
}

std::string helpFooter() {
    std::string text = "\nExit status:\n";
    for (const StatusRow& row : statusTable()) {
        std::string meaning(row.meaning);
        for (std::size_t at = 0; (at = meaning.find('\n', at)) != std::string::npos; ++at) {
            meaning.insert(at + 1, 6, ' ');
        }
        text += fmt::format("  {:<2}  {}\n", row.status, meaning);
    }
    return text + kEnvironmentFiles;
}

std::string wrapHelp(const std::string& help, std::size_t width) {
    std::string text;
    std::size_t begin = 0;
    while (begin < help.size()) {
        const std::size_t end = std::min(help.find('\n', begin), help.size());
        const std::string line = help.substr(begin, end - begin);
        begin = end + 1;
        const std::size_t first = std::min(line.find_first_not_of(' '), line.size());
        const std::size_t gap = line.find("  ", first);
        const std::size_t description =
            gap != std::string::npos ? line.find_first_not_of(' ', gap) : first;
        std::size_t indent = description;
        std::string lead = line.substr(0, description);
        if (description >= width / 2 && line.size() > width) {
            // On a narrow terminal the description starts below the names.
            text += line.substr(0, gap) + '\n';
            indent = first + 4;
            lead.assign(indent, ' ');
        }
        for (const std::string& piece : wrapped(line.substr(description), width - indent)) {
            text += lead + piece + '\n';
            lead.assign(indent, ' ');
        }
    }
    return text;
}

} // namespace sysconfctl
