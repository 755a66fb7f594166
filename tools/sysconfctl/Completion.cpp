#include "Completion.h"

#include "CommandTable.h"
#include "Environment.h"
#include "Output.h"
#include "Queries.h"
#include "ShellLine.h"
#include "Text.h"
#include "deployment/Cluster.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <optional>
#include <set>

namespace sysconfctl {
namespace {

using Candidates = std::vector<Candidate>;

const CommandRow* commandNamed(std::string_view name) {
    const auto& table = commandTable();
    const auto found = std::find_if(table.begin(), table.end(),
                                    [&](const CommandRow& row) { return row.name == name; });
    return found != table.end() ? &*found : nullptr;
}

const Query* queryNamed(std::string_view name) {
    const auto& all = queries();
    const auto found = std::find_if(all.begin(), all.end(),
                                    [&](const Query& query) { return query.name == name; });
    return found != all.end() ? &*found : nullptr;
}

/// The words in front of the cursor, understood as far as they can be.
class Typed {
public:
    explicit Typed(const std::vector<std::string>& words) {
        for (std::size_t i = 0; i + 1 < words.size(); ++i) {
            take(words[i]);
        }
    }

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

    std::vector<Option> options() const {
        if (command != nullptr) {
            return optionsOf(*command);
        }
        std::vector<Option> options = commonOptions();
        options.insert(options.end(), {Option::Help, Option::Version});
        return options;
    }

    /// The option that the word names, or begins with: "--set", "--set=", "-o".
    const OptionRow* optionAt(std::string_view word) const {
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

private:
    void take(const std::string& word) {
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

    void takeOption(const std::string& word) {
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

    void give(const OptionRow& row, const std::string& value) {
        if (row.option == Option::EnvFile) {
            envFile = value;
        } else if (row.option == Option::Set) {
            sets.push_back(value);
        }
    }
};

/// The file as the shell would name it: completion sees words before the shell has worked on them.
std::optional<std::string> withHome(const std::optional<std::string>& file) {
    // NOLINTNEXTLINE(concurrency-mt-unsafe): nobody changes the environment meanwhile.
    const char* const home = std::getenv("HOME");
    if (home != nullptr && file && file->starts_with("~/")) {
        return home + file->substr(1);
    }
    return file;
}

Candidates candidatesOf(const std::set<std::string>& texts) {
    Candidates candidates;
    for (const std::string& text : texts) {
        candidates.push_back({text, ""});
    }
    return candidates;
}

/// What the files of the environment hold, read when it is first asked for. What cannot be read
/// holds nothing.
class Deployed {
public:
    explicit Deployed(const Typed& typed) {
        applyEnvironment(withHome(typed.envFile), typed.sets);
        m_sources = readSources();
        m_cluster = clusterOf(m_sources);
    }

    Candidates nodes() const {
        Candidates candidates;
        for (const ClusterNode& node : m_cluster.nodes) {
            std::vector<std::string> about = node.marks();
            if (!node.told().tenancy.empty()) {
                about.push_back("of " + escaped(node.told().tenancy));
            }
            candidates.push_back({node.id, joined(about, ", ")});
        }
        return candidates;
    }

    Candidates tags(bool withoutNumbers) const {
        std::set<std::string> tags;
        forEachAddress([&](const Address& address) {
            for (std::string tag : address.tags) {
                if (withoutNumbers) {
                    tag.erase(tag.find_last_not_of("0123456789") + 1);
                }
                tags.insert(std::move(tag));
            }
        });
        return candidatesOf(tags);
    }

    Candidates addresses() const {
        std::set<std::string> addresses;
        forEachAddress([&](const Address& address) { addresses.insert(address.ip); });
        return candidatesOf(addresses);
    }

    Candidates databases() const {
        Candidates candidates;
        for (const std::string& name : membersOf(databaseTree())) {
            candidates.push_back({name, ""});
        }
        return candidates;
    }

    Candidates entriesOf(const std::string& database) const {
        Candidates candidates;
        const Json::Value* const entries = member(databaseTree(), database);
        for (Json::ArrayIndex i = 0;
             entries != nullptr && entries->isArray() && i < entries->size(); ++i) {
            const Json::Value* const type = member(&(*entries)[i], "type");
            candidates.push_back({std::to_string(i), type != nullptr && type->isString()
                                                         ? escaped(type->asString())
                                                         : ""});
        }
        return candidates;
    }

    Candidates instances() const {
        Candidates candidates;
        for (const std::string& id : membersOf(member(&m_sources.appConfig.tree, "processes"))) {
            candidates.push_back({id, ""});
        }
        return candidates;
    }

    /// Members of nodes that are texts, of the list of all nodes.
    Candidates fields() const {
        std::set<std::string> names;
        forEachField([&](const std::string& name, const std::string&) { names.insert(name); });
        return candidatesOf(names);
    }

    Candidates valuesOf(const std::string& field) const {
        std::set<std::string> values;
        forEachField([&](const std::string& name, const std::string& value) {
            if (name == field) {
                values.insert(value);
            }
        });
        return candidatesOf(values);
    }

private:
    static const Json::Value* member(const Json::Value* value, const std::string& name) {
        return value != nullptr && value->isObject() && value->isMember(name) ? &(*value)[name]
                                                                              : nullptr;
    }

    static std::vector<std::string> membersOf(const Json::Value* value) {
        return value != nullptr && value->isObject() ? value->getMemberNames()
                                                     : std::vector<std::string>{};
    }

    const Json::Value* databaseTree() const {
        return member(&m_sources.appConfig.tree, "databases");
    }

    template <typename Visit>
    void forEachAddress(Visit visit) const {
        for (const ClusterNode& node : m_cluster.nodes) {
            for (const Listed* listed : {&node.nodeList, &node.managerNodeList}) {
                std::for_each(listed->addresses.begin(), listed->addresses.end(), visit);
            }
        }
    }

    template <typename Visit>
    void forEachField(Visit visit) const {
        const Json::Value* const nodes = member(&m_sources.managerNodeList.tree, "nodeList");
        for (const std::string& id : membersOf(nodes)) {
            for (const std::string& name : membersOf(&(*nodes)[id])) {
                const Json::Value& value = (*nodes)[id][name];
                if (value.isString()) {
                    visit(name, value.asString());
                }
            }
        }
    }

    Sources m_sources;
    Cluster m_cluster;
};

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
    const Deployed deployed(typed);
    switch (query->parameters[std::min(place, query->parameters.size() - 1)].completes) {
    case Completes::Tags:
        return deployed.tags(false);
    case Completes::TagPrefixes:
        return deployed.tags(true);
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
        return Deployed(typed).nodes();
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
    Candidates candidates = Deployed(typed).instances();
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
        return {false, Deployed(typed).addresses()};
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
