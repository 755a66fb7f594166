// SPDX-License-Identifier: Apache-2.0
#include "cli/Completion.h"

#include "check/Finding.h"
#include "cli/CommandTable.h"
#include "cli/DeployedNames.h"
#include "cli/PartialCommandLine.h"
#include "cli/ProcessEnvironment.h"
#include "cli/ShellLine.h"
#include "deployment/NodeFilter.h"
#include "query/QueryUsage.h"
#include "render/Output.h"
#include "render/Text.h"

#include <algorithm>
#include <array>

namespace sysconfctl {
namespace {

const Query* queryNamed(std::string_view name) {
    const auto& all = queries();
    const auto found = std::find_if(all.begin(), all.end(),
                                    [&](const Query& query) { return query.name == name; });
    return found != all.end() ? &*found : nullptr;
}

Candidates commands() {
    Candidates candidates;
    for (const CommandRow& row : commandTable()) {
        candidates.push_back({std::string(row.name), std::string(row.help)});
    }
    return candidates;
}

Candidates options(const PartialCommandLine& line) {
    Candidates candidates;
    for (const Option option : line.options()) {
        const OptionRow& row = optionRow(option);
        if (row.repeatable || !line.given.contains(option)) {
            candidates.push_back({std::string(row.name), std::string(row.help)});
        }
    }
    return candidates;
}

Candidates queryArguments(const PartialCommandLine& line) {
    const Query* const query = queryNamed(line.operands.front());
    if (query == nullptr || query->parameters.empty()) {
        return {};
    }
    const std::size_t place = line.operands.size() - 1;
    const Parameter& last = query->parameters.back();
    if (place >= query->parameters.size() && last.occurs == Occurs::Once) {
        return {};
    }
    deployed::applyEnvironmentOf(line);
    switch (query->parameters[std::min(place, query->parameters.size() - 1)].completes) {
    case Completes::Tags:
        return deployed::tags();
    case Completes::TagPrefixes:
        return deployed::tagPrefixes();
    case Completes::Fields:
        return deployed::fields();
    case Completes::FieldPrefixes:
        return deployed::valuesOf(line.operands.back());
    case Completes::Databases:
        return deployed::databases();
    case Completes::DatabaseEntries:
        return deployed::entriesOf(line.operands.back());
    }
    return {};
}

Candidates queryNames() {
    Candidates candidates;
    for (const Query& query : queries()) {
        candidates.push_back({std::string(query.name), std::string(query.help)});
    }
    return candidates;
}

Candidates variableNames() {
    Candidates candidates;
    for (const Query& query : queries()) {
        if (takesArguments(query, 0)) {
            candidates.push_back({std::string(query.name), std::string(query.help)});
        }
    }
    return candidates;
}

Candidates operands(const PartialCommandLine& line) {
    if (line.command == nullptr) {
        return commands();
    }
    switch (line.command->operands) {
    case Operands::Query:
        if (line.given.contains(Option::All) || line.given.contains(Option::List)) {
            return {};
        }
        if (line.given.contains(Option::Shell) || line.given.contains(Option::Systemd)) {
            return variableNames();
        }
        return line.operands.empty() ? queryNames() : queryArguments(line);
    case Operands::Queries:
        return queryNames();
    case Operands::Nodes:
        deployed::applyEnvironmentOf(line);
        return deployed::nodes();
    case Operands::Command:
        return line.operands.empty() ? commands() : Candidates{};
    case Operands::Environments:
        return queryNames();
    case Operands::Word:
        if (!line.operands.empty()) {
            return {};
        }
        deployed::applyEnvironmentOf(line);
        return deployed::words();
    case Operands::Program: // before "--" there are only more queries of --only
        return line.given.contains(Option::Only) ? variableNames() : Candidates{};
    case Operands::Paths:
    case Operands::None:
        break;
    }
    return {};
}

bool takesFiles(const PartialCommandLine& line) {
    if (line.command == nullptr) {
        return false;
    }
    return line.command->operands == Operands::Paths ||
           (line.command->operands == Operands::Program && line.optionsEnded) ||
           (line.command->operands == Operands::Environments &&
            line.operands.size() + line.pids.size() < 2);
}

bool isPath(std::string_view variable) {
    constexpr std::array<std::string_view, 3> kPaths = {"APP_CONF_FILE", "APP_ROOT", "TOLM_ROOT"};
    return std::find(kPaths.begin(), kPaths.end(), variable) != kPaths.end();
}

/// "KEY=" for each variable; after the "=", candidates for the value.
Completion assignments(const PartialCommandLine& line, std::string_view word) {
    const std::size_t equals = word.find('=');
    if (equals == std::string_view::npos) {
        Candidates candidates;
        for (const VariableRow& row : variableTable()) {
            candidates.push_back({std::string(row.name) + '=', std::string(row.meaning)});
        }
        return {false, candidates};
    }
    const std::string variable(word.substr(0, equals));
    if (isPath(variable)) {
        return {true, {}};
    }
    if (variable != "PROCESS_INSTANCE_ID") {
        return {};
    }
    deployed::applyEnvironmentOf(line);
    Candidates candidates = deployed::instances();
    for (Candidate& candidate : candidates) {
        candidate.text.insert(0, variable + '=');
    }
    return {false, candidates};
}

Completion valuesOf(const OptionRow& option, const PartialCommandLine& line,
                    std::string_view word) {
    Candidates candidates;
    switch (option.option) {
    case Option::EnvFile:
    case Option::File:
        return {true, {}};
    case Option::Set:
        return assignments(line, word);
    case Option::Pid:
        for (const ConfiguredProcess& process : configuredProcesses()) {
            candidates.push_back({process.pid, process.instance});
        }
        break;
    case Option::LocalAddress:
        deployed::applyEnvironmentOf(line);
        return {false, deployed::addresses()};
    case Option::Tenancy:
        deployed::applyEnvironmentOf(line);
        return {false, deployed::tenancies()};
    case Option::Role:
        deployed::applyEnvironmentOf(line);
        return {false, deployed::roles()};
    case Option::Tag:
    case Option::Missing:
        deployed::applyEnvironmentOf(line);
        return {false, deployed::tags()};
    case Option::Sort:
        for (const std::string_view name : sortFields()) {
            candidates.push_back({std::string(name), ""});
        }
        break;
    case Option::Color:
        for (const std::string_view name : colorNames()) {
            candidates.push_back({std::string(name), ""});
        }
        break;
    case Option::OnChange:
        for (const char* action : {"restart", "none", "HUP", "USR1", "USR2"}) {
            candidates.push_back({action, ""});
        }
        break;
    case Option::Only:
        return {false, variableNames()};
    case Option::Ignore:
        for (const FindingName& one : findingNames()) {
            candidates.push_back({std::string(one.name), std::string(one.meaning)});
        }
        break;
    case Option::Output:
        for (const Format format :
             line.command != nullptr ? line.command->formats : std::vector<Format>{}) {
            candidates.push_back({std::string(nameOf(format)), ""});
        }
        break;
    default:
        break;
    }
    return {false, candidates};
}

Completion attachedValues(const PartialCommandLine& line, const std::string& word) {
    const OptionRow* const row = line.optionAt(word);
    if (row == nullptr || row->value.empty()) {
        return {};
    }
    const std::string lead =
        word.starts_with("--") ? std::string(row->name) + '=' : std::string(row->letter);
    Completion completion = valuesOf(*row, line, std::string_view(word).substr(lead.size()));
    for (Candidate& candidate : completion.candidates) {
        candidate.text.insert(0, lead);
    }
    return completion;
}

Completion anyCompletion(const PartialCommandLine& line, const std::string& word) {
    if (line.commandUnknown) {
        return {};
    }
    if (line.pendingOption != nullptr) {
        return valuesOf(*line.pendingOption, line, word);
    }
    const bool dashed = !line.optionsEnded && word.starts_with('-');
    if (dashed &&
        (word.find('=') != std::string::npos || (word.size() > 1 && !word.starts_with("--")))) {
        return attachedValues(line, word);
    }
    if (!dashed && takesFiles(line)) {
        return {true, {}};
    }
    Completion completion{false, dashed ? options(line) : operands(line)};
    if (!dashed && !line.optionsEnded) {
        // The parser would read them as options.
        std::erase_if(completion.candidates,
                      [](const Candidate& candidate) { return candidate.text.starts_with('-'); });
    }
    return completion;
}

/// Whether the text has visible characters only: no control characters, no invalid UTF-8.
bool isVisible(std::string text) {
    std::erase(text, '\\'); // escaped() doubles it, but it is visible
    return !text.empty() && escaped(text) == text;
}

std::string forBash(const std::vector<std::string>& arguments) {
    const ShellLine line = readShellLine(arguments.at(2), arguments.at(1));
    if (line.words.size() < 2) {
        return {}; // the cursor is at the name of the tool
    }
    const std::vector<std::string> words(line.words.begin() + 1, line.words.end());
    const Completion completion = line.redirection ? Completion{true, {}} : completionOf(words);
    std::string text;
    for (const Candidate& candidate : completion.candidates) {
        if (candidate.text.starts_with(line.words.back())) {
            text += shellQuoted(candidate.text.substr(line.kept), line.quote);
            // bash would take a candidate that ends with the quote as closed.
            const char closing = line.quote == '$' ? '\'' : line.quote;
            text += closing != 0 && text.back() == closing ? std::string{closing, '\n'} : "\n";
        }
    }
    return completion.files ? ":files\n" : text.empty() ? "" : ":values\n" + text;
}

std::string forOthers(const std::vector<std::string>& words) {
    const Completion completion = completionOf({words.begin() + 1, words.end()});
    std::string text;
    for (const Candidate& candidate : completion.candidates) {
        text += candidate.text + '\t' + escaped(candidate.help) + '\n';
    }
    return completion.files ? ":files\n" : text.empty() ? "" : ":values\n" + text;
}

} // namespace

Completion completionOf(const std::vector<std::string>& words) {
    Completion completion = anyCompletion(PartialCommandLine(words), words.back());
    std::erase_if(completion.candidates,
                  [](const Candidate& candidate) { return !isVisible(candidate.text); });
    return completion;
}

ExitStatus runComplete(const std::vector<std::string>& words) noexcept {
    try {
        if (words.size() == 3 && words.front() == "bash") {
            writeOutput(forBash(words));
        } else if (words.size() > 1 && (words.front() == "zsh" || words.front() == "fish")) {
            writeOutput(forOthers(words));
        }
    } catch (const OutputError&) {
        return ExitStatus::Internal;
    } catch (...) {
        // An error message would disturb the line that the user types.
        return ExitStatus::Answered;
    }
    return ExitStatus::Answered;
}

} // namespace sysconfctl
