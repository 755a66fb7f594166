// SPDX-License-Identifier: Apache-2.0
#include "query/QueryUsage.h"

#include "cli/Suggestion.h"
#include "cli/UsageError.h"
#include "render/Text.h"

#include <fmt/format.h>

namespace sysconfctl {

std::vector<std::string> nearQueries(std::string_view name) {
    std::vector<std::string_view> names;
    std::vector<std::string_view> operations;
    for (const Query& query : queries()) {
        names.push_back(query.name);
        operations.push_back(query.operation);
    }
    std::vector<std::string> near = nearMatches(name, names);
    return near.empty() ? nearMatches(name, operations) : near;
}

const Query& findQuery(std::string_view name) {
    for (const Query& query : queries()) {
        if (name == query.name || name == query.operation) {
            return query;
        }
    }
    throw UsageError(fmt::format("unknown query {}{} (sysconfctl get --list lists them all)",
                                 shellWord(name), didYouMean(nearQueries(name))));
}

std::string usageOf(const Query& query) {
    std::string usage(query.name);
    for (const Parameter& parameter : query.parameters) {
        const char* const format = parameter.occurs == Occurs::Once         ? " {}"
                                   : parameter.occurs == Occurs::OnceOrMore ? " {}..."
                                                                            : " [{}...]";
        usage += fmt::format(fmt::runtime(format), parameter.name);
    }
    return usage;
}

std::string labelOf(const Query& query, const Arguments& arguments) {
    std::string text(query.name);
    for (const std::string& argument : arguments) {
        text += ' ' + shellWord(argument);
    }
    return text;
}

void checkArgumentCount(const Query& query, const Arguments& arguments, std::string_view command) {
    if (!takesArguments(query, arguments.size())) {
        throw UsageError(fmt::format("{} takes {}arguments: sysconfctl {} {}", query.name,
                                     query.parameters.empty() ? "no " : "other ", command,
                                     usageOf(query)));
    }
}

unsigned int indexArgument(const std::string& text) {
    try {
        return library::parseIndex(text);
    } catch (const library::BadIndex&) {
        throw UsageError(
            fmt::format("the index must be a number from 0 on, not {}", shellWord(text)));
    }
}

} // namespace sysconfctl
