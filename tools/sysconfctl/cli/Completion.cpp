#include "cli/Completion.h"

#include "cli/CommandTable.h"
#include "cli/DeployedNames.h"
#include "cli/PartialCommandLine.h"
#include "cli/ShellLine.h"
#include "query/Queries.h"
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

Candidates options(const Typed& typed) {
    Candidates candidates;
    for (const Option option : typed.options()) {
        const OptionRow& row = optionRow(option);
        if (row.repeatable || !typed.given.contains(option)) {
            candidates.push_back({std::string(row.name), std::string(row.help)});
        }
    }
    return candidates;
}

/// An argument of a query, or nothing where it takes no more.
Candidates queryArguments(const Typed& typed) {
    const Query* const query = queryNamed(typed.operands.front());
    if (query == nullptr || query->parameters.empty()) {
        return {};
    }
    const std::size_t place = typed.operands.size() - 1;
    const Parameter& last = query->parameters.back();
    if (place >= query->parameters.size() && last.occurs == Occurs::Once) {
        return {};
    }
    const DeployedNames deployed(typed);
    switch (query->parameters[std::min(place, query->parameters.size() - 1)].completes) {
    case Completes::Tags:
        return deployed.tags();
    case Completes::TagPrefixes:
        return deployed.tagPrefixes();
    case Completes::Fields:
        return deployed.fields();
    case Completes::FieldPrefixes:
        return deployed.valuesOf(typed.operands.back());
    case Completes::Databases:
        return deployed.databases();
    case Completes::DatabaseEntries:
        return deployed.entriesOf(typed.operands.back());
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

Candidates operands(const Typed& typed) {
    if (typed.command == nullptr) {
        return commands();
    }
    switch (typed.command->operands) {
    case Operands::Query:
        if (typed.given.contains(Option::All) || typed.given.contains(Option::List)) {
            return {};
        }
        return typed.operands.empty() ? queryNames() : queryArguments(typed);
    case Operands::Nodes:
        return DeployedNames(typed).nodes();
    case Operands::None:
        break;
    }
    return {};
}

bool isPath(std::string_view variable) {
    constexpr std::array<std::string_view, 3> kPaths = {"APP_CONF_FILE", "APP_ROOT", "TOLM_ROOT"};
    return std::find(kPaths.begin(), kPaths.end(), variable) != kPaths.end();
}

/// "KEY=" of the variables, then the value behind it.
Completion assignments(const Typed& typed, std::string_view begun) {
    const std::size_t equals = begun.find('=');
    if (equals == std::string_view::npos) {
        Candidates candidates;
        for (const VariableRow& row : variableTable()) {
            candidates.push_back({std::string(row.name) + '=', std::string(row.meaning)});
        }
        return {false, candidates};
    }
    const std::string variable(begun.substr(0, equals));
    if (isPath(variable)) {
        return {true, {}};
    }
    if (variable != "PROCESS_INSTANCE_ID") {
        return {};
    }
    Candidates candidates = DeployedNames(typed).instances();
    for (Candidate& candidate : candidates) {
        candidate.text.insert(0, variable + '=');
    }
    return {false, candidates};
}

Completion valuesOf(const OptionRow& option, const Typed& typed, std::string_view begun) {
    Candidates candidates;
    switch (option.option) {
    case Option::EnvFile:
        return {true, {}};
    case Option::Set:
        return assignments(typed, begun);
    case Option::LocalAddress:
        return {false, DeployedNames(typed).addresses()};
    case Option::Color:
        for (const std::string_view name : colorNames()) {
            candidates.push_back({std::string(name), ""});
        }
        break;
    case Option::Output:
        for (const Format format :
             typed.command != nullptr ? typed.command->formats : std::vector<Format>{}) {
            candidates.push_back({std::string(nameOf(format)), ""});
        }
        break;
    default:
        break;
    }
    return {false, candidates};
}

/// Values in the word that names the option: "--output=json", "-ojson".
Completion gluedValues(const Typed& typed, const std::string& word) {
    const OptionRow* const row = typed.optionAt(word);
    if (row == nullptr || row->value.empty()) {
        return {};
    }
    const std::string lead =
        word.starts_with("--") ? std::string(row->name) + '=' : std::string(row->letter);
    Completion completion = valuesOf(*row, typed, std::string_view(word).substr(lead.size()));
    for (Candidate& candidate : completion.candidates) {
        candidate.text.insert(0, lead);
    }
    return completion;
}

Completion anyCompletion(const Typed& typed, const std::string& word) {
    if (typed.lost) {
        return {};
    }
    if (typed.open != nullptr) {
        return valuesOf(*typed.open, typed, word);
    }
    const bool dashed = !typed.optionsOver && word.starts_with('-');
    if (dashed &&
        (word.find('=') != std::string::npos || (word.size() > 1 && !word.starts_with("--")))) {
        return gluedValues(typed, word);
    }
    Completion completion{false, dashed ? options(typed) : operands(typed)};
    if (!dashed && !typed.optionsOver) {
        // They would be taken for options.
        std::erase_if(completion.candidates,
                      [](const Candidate& candidate) { return candidate.text.starts_with('-'); });
    }
    return completion;
}

/// Whether the text is what one would see: no control characters, nothing that is not UTF-8.
bool isVisible(std::string text) {
    std::erase(text, '\\'); // escaped, too, but visible
    return !text.empty() && escaped(text) == text;
}

std::string forBash(const std::vector<std::string>& words) {
    const ShellLine line = readShellLine(words.at(2), words.at(1));
    if (line.words.size() < 2) {
        return {}; // the tool's own name
    }
    const std::vector<std::string> typed(line.words.begin() + 1, line.words.end());
    const Completion completion = line.redirection ? Completion{true, {}} : completionOf(typed);
    std::string text;
    for (const Candidate& candidate : completion.candidates) {
        if (candidate.text.starts_with(line.words.back())) {
            text += shellQuoted(candidate.text.substr(line.kept), line.quote);
            // What ends with the quote would be taken for closed.
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
        text += candidate.text + '\t' + candidate.help + '\n';
    }
    return completion.files ? ":files\n" : text.empty() ? "" : ":values\n" + text;
}

} // namespace

Completion completionOf(const std::vector<std::string>& words) {
    Completion completion = anyCompletion(Typed(words), words.back());
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
        // Nobody wants errors in the middle of a line that is being typed.
        return ExitStatus::Answered;
    }
    return ExitStatus::Answered;
}

} // namespace sysconfctl
