// SPDX-License-Identifier: Apache-2.0

#include "cli/CommandTable.h"
#include "query/QueryUsage.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <set>
#include <sstream>

namespace {

using namespace sysconfctl;
using ::testing::ElementsAreArray;
using ::testing::Not;
using ::testing::UnorderedElementsAreArray;

std::filesystem::path sourceDirectory() {
    return SYSCONF_SOURCE_DIRECTORY;
}

std::string readFile(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    EXPECT_TRUE(file.is_open()) << path;
    return {std::istreambuf_iterator<char>(file), {}};
}

constexpr const char* kToolPage = "sysconfctl.1";
constexpr const char* kSyncPage = "sysconfsync.1";

std::vector<std::string> section(const std::string& title, const std::string& page = kToolPage) {
    std::istringstream text(readFile(sourceDirectory() / "docs/man" / page));
    std::vector<std::string> lines;
    bool inside = false;
    for (std::string line; std::getline(text, line);) {
        if (line.starts_with(".Sh ")) {
            inside = line == ".Sh " + title;
        } else if (inside) {
            lines.push_back(line);
        }
    }
    EXPECT_THAT(lines, Not(testing::IsEmpty())) << title;
    return lines;
}

std::vector<std::string> linesWith(const std::string& title, const std::string& begin,
                                   const std::string& page = kToolPage) {
    std::vector<std::string> found;
    for (const std::string& line : section(title, page)) {
        if (line.starts_with(begin)) {
            found.push_back(line.substr(begin.size()));
        }
    }
    return found;
}

std::vector<std::string> firstColumn(const std::string& title, const std::string& page) {
    std::vector<std::string> rows = linesWith(title, ".It Cm ", page);
    for (std::string& row : rows) {
        row.resize(std::min(row.find(" Ta "), row.size()));
    }
    return rows;
}

std::vector<std::string> matches(const std::string& text, const std::string& pattern) {
    const std::regex expression(pattern);
    std::vector<std::string> found;
    for (std::sregex_iterator match(text.begin(), text.end(), expression), end; match != end;
         ++match) {
        found.push_back((*match)[1]);
    }
    return found;
}

std::string inPage(const OptionRow& row) {
    std::string text = row.letter.empty() ? "" : "Fl " + std::string(row.letter.substr(1)) + " , ";
    text += "Fl Fl " + std::string(row.name.substr(2));
    return row.value.empty() ? text : text + " Ar " + std::string(row.value);
}

std::string inPage(const Query& query) {
    std::string text(query.name);
    for (const Parameter& parameter : query.parameters) {
        text += parameter.occurs == Occurs::AnyTimes ? " Oo Ar " : " Ar ";
        text += parameter.name;
        text += parameter.occurs == Occurs::Once ? "" : " ...";
        text += parameter.occurs == Occurs::AnyTimes ? " Oc" : "";
    }
    return text;
}

TEST(ManPage, Commands_AreThoseOfTheTableWithTheirOptionsAndFormats) {
    std::vector<std::string> heads;
    std::vector<std::string> formats;
    for (const CommandRow& command : commandTable()) {
        std::string head(command.name);
        const bool several = command.options.size() > 1;
        for (const Option option : command.options) {
            head +=
                (several ? " Oo " : " Op ") + inPage(optionRow(option)) + (several ? " Oc" : "");
        }
        heads.push_back(head);
        if (command.formats.empty()) {
            continue;
        }
        std::string names;
        for (const Format format : command.formats) {
            names +=
                std::string(nameOf(format)) + (format == command.formats.back() ? " ." : " , ");
        }
        formats.push_back(names);
    }
    EXPECT_THAT(linesWith("COMMANDS", ".It Ic "), ElementsAreArray(heads));
    EXPECT_THAT(linesWith("COMMANDS", ".No Formats : Cm "), ElementsAreArray(formats));
}

TEST(ManPage, Synopsis_HasEveryCommand) {
    std::set<std::string> names;
    for (const CommandRow& command : commandTable()) {
        names.emplace(command.name);
    }
    std::set<std::string> found;
    for (const std::string& line : linesWith("SYNOPSIS", ".Ic ")) {
        found.insert(line.substr(0, line.find(' ')));
    }
    EXPECT_EQ(found, names);
}

TEST(ManPage, Options_AreThoseOfTheTable) {
    std::vector<std::string> options;
    for (const OptionRow& row : optionTable()) {
        options.push_back(inPage(row));
    }
    EXPECT_THAT(linesWith("OPTIONS", ".It "), UnorderedElementsAreArray(options));
}

TEST(ManPage, Queries_AreThoseOfTheTableWithTheirArguments) {
    std::vector<std::string> names;
    for (const Query& query : queries()) {
        names.push_back(inPage(query));
    }
    EXPECT_THAT(firstColumn("QUERIES", kToolPage), ElementsAreArray(names));
}

TEST(ManPage, ExitStatuses_AreThoseOfTheTableAndOfTheTool) {
    std::vector<std::string> statuses;
    for (const StatusRow& row : statusTable()) {
        statuses.push_back(std::to_string(row.status));
    }
    EXPECT_THAT(linesWith("EXIT STATUS", ".It "), ElementsAreArray(statuses));
    const auto used =
        matches(readFile(sourceDirectory() / "tools/sysconfctl/cli/ExitStatus.h"), R"(= (\d+))");
    EXPECT_EQ(std::set<std::string>(used.begin(), used.end()),
              std::set<std::string>(statuses.begin(), statuses.end()));
}

std::vector<std::string> diagnosticsIn(const std::string& header) {
    return matches(readFile(sourceDirectory() / header), R"re(= "([a-z-]+)";)re");
}

TEST(ManPage, Diagnostics_AreThoseOfTheTool) {
    EXPECT_THAT(firstColumn("OUTPUT", kToolPage),
                ElementsAreArray(diagnosticsIn("tools/sysconfctl/render/Diagnostics.h")));
}

TEST(SyncManPage, Diagnostics_AreThoseOfTheProgram) {
    EXPECT_THAT(firstColumn("OUTPUT", kSyncPage),
                ElementsAreArray(diagnosticsIn("tools/sysconfsync/cli/SyncDiagnostics.h")));
}

/// Arguments of getenv, and other texts of that form.
std::vector<std::string> variablesIn(const std::string& source) {
    std::vector<std::string> names = matches(source, R"re(getenv\("([A-Za-z0-9_]+)"\))re");
    for (const std::string& name : matches(source, R"re((?:^|[^\[])"([A-Z]+(?:_[A-Z]+)+)")re")) {
        // This is a member of the configuration files, not a variable.
        if (name != "CORBA_SSL") {
            names.push_back(name);
        }
    }
    return names;
}

std::set<std::string> variablesOf(const std::string& page) {
    std::set<std::string> found;
    for (const std::string& line : linesWith("ENVIRONMENT", ".It Ev ", page)) {
        const auto names = matches(line, "([A-Z_]+)");
        found.insert(names.begin(), names.end());
    }
    return found;
}

/// The variables in the sources of some folders, except in the table of them.
std::set<std::string> variablesReadIn(const std::vector<std::string>& folders) {
    std::set<std::string> read;
    for (const std::string& folder : folders) {
        for (const auto& entry :
             std::filesystem::recursive_directory_iterator(sourceDirectory() / folder)) {
            const auto& path = entry.path();
            if ((path.extension() == ".cpp" || path.extension() == ".h") &&
                path.stem() != "CommandTable") {
                const auto names = variablesIn(readFile(path));
                read.insert(names.begin(), names.end());
            }
        }
    }
    return read;
}

TEST(ManPage, Variables_AreThoseOfTheTableAndOfTheSources) {
    std::set<std::string> table;
    for (const VariableRow& row : variableTable()) {
        table.emplace(row.name);
    }
    EXPECT_EQ(variablesOf(kToolPage), table);
    EXPECT_EQ(variablesReadIn({"src", "tools/sysconfctl", "platform/eventcbutil"}), table);
}

TEST(SyncManPage, Variables_AreThoseOfTheSourcesAndOfTheOutput) {
    std::set<std::string> used = variablesReadIn({"tools/sysconfsync"});
    for (const char* inEnvFiles : {"APP_CONF_FILE", "APP_ROOT", "TOLM_ROOT"}) {
        EXPECT_EQ(used.erase(inEnvFiles), 1U);
    }
    used.insert({"COLUMNS", "NO_COLOR"}); // the output is that of sysconfctl
    EXPECT_EQ(variablesOf(kSyncPage), used);
}

} // namespace
