// SPDX-License-Identifier: Apache-2.0
#include "cli/GivenOptions.h"

#include "cli/CommandWords.h"
#include "cli/UsageError.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstddef>
#include <string_view>

namespace sysconfctl {
namespace {

void removeGuards(GivenOptions& given) {
    Options& options = given.options;
    for (std::string* const word : {&given.envFile, &given.environmentA, &given.environmentB,
                                    &given.file, &options.query, &options.word}) {
        *word = unguarded(std::move(*word));
    }
    for (std::vector<std::string>* const words :
         {&options.arguments, &options.queries, &options.pids, &options.nodes,
          &options.filter.tenancies, &options.filter.roles, &options.filter.tags,
          &options.filter.missingTags, &options.localAddresses, &options.paths, &options.ignored,
          &options.only}) {
        std::transform(words->begin(), words->end(), words->begin(), unguarded);
    }
}

std::optional<std::string> unlessEmpty(const std::string& text) {
    return text.empty() ? std::nullopt : std::optional(text);
}

Format formatNamed(const CommandRow& command, std::string_view name) {
    const auto named = std::find_if(command.formats.begin(), command.formats.end(),
                                    [&](Format format) { return nameOf(format) == name; });
    if (named != command.formats.end()) {
        return *named;
    }
    return command.formats.empty() ? Format::Table : command.formats.front();
}

/// Each process replaces an operand.
void setEnvironments(const GivenOptions& given, const CommandRow& command, Options& options) {
    if (options.envFile) {
        throw UsageError(fmt::format("{} compares the environments A and B and takes no --env-file",
                                     command.name));
    }
    std::vector<std::string> words;
    for (const std::string& environment : {given.environmentA, given.environmentB}) {
        if (!environment.empty()) {
            words.push_back(environment);
        }
    }
    words.insert(words.end(), options.queries.begin(), options.queries.end());
    constexpr std::size_t kTwo = 2;
    if (options.pids.size() > kTwo || options.pids.size() + words.size() < kTwo) {
        throw UsageError(fmt::format("{} takes two environments: env files, directories or --pid",
                                     command.name));
    }
    const auto first = words.begin() + static_cast<std::ptrdiff_t>(kTwo - options.pids.size());
    options.environments.assign(words.begin(), first);
    options.queries.assign(first, words.end());
}

void setProcess(Options& options) {
    if (options.pids.size() > 1) {
        throw UsageError("--pid: one process only; diff compares two");
    }
    if (!options.pids.empty()) {
        options.pid = options.pids.front();
    }
}

void setQueriesOfVariables(const GivenOptions& given, Options& options) {
    if (given.list || options.formatGiven || (options.shell && options.systemd)) {
        throw UsageError("--shell, --systemd, --list and --output exclude each other");
    }
    options.queries = options.arguments;
    if (!options.query.empty()) {
        options.queries.insert(options.queries.begin(), options.query);
    }
}

} // namespace

Options checkedOptions(GivenOptions given, const CommandRow& command) {
    removeGuards(given);
    Options options = given.options;
    options.command = given.list ? Command::List : command.command;
    options.format = formatNamed(command, given.format);
    options.formatGiven = !given.format.empty();
    options.envFile = unlessEmpty(given.envFile);
    options.file = unlessEmpty(given.file);
    if (!options.pids.empty() && options.envFile) {
        throw UsageError("--pid and --env-file both name an environment; give one of them");
    }
    if (command.operands == Operands::Environments) {
        setEnvironments(given, command, options);
    } else {
        setProcess(options);
    }
    if (command.operands == Operands::Program && options.program.empty()) {
        throw UsageError(fmt::format("{0} takes a program after --: sysconfctl {0} [OPTIONS] -- "
                                     "PROGRAM [ARGUMENT...]",
                                     command.name));
    }
    if (options.shell || options.systemd) {
        setQueriesOfVariables(given, options);
    } else if (command.operands == Operands::Query &&
               (given.list || options.all) != options.query.empty()) {
        throw UsageError(fmt::format("{} takes either a query or {}", command.name,
                                     optionRow(command.options.front()).name));
    }
    return options;
}

} // namespace sysconfctl
