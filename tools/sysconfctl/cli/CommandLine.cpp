// SPDX-License-Identifier: Apache-2.0
#include "cli/CommandLine.h"

#include "cli/CommandWords.h"
#include "cli/HelpText.h"
#include "cli/Suggestion.h"
#include "cli/UsageError.h"
#include "render/Output.h"
#include "render/Text.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <algorithm>
#include <string_view>
#include <utility>

namespace sysconfctl {
namespace {

ColorChoice colorNamed(std::string_view name) {
    return name == "always"  ? ColorChoice::Always
           : name == "never" ? ColorChoice::Never
                             : ColorChoice::Auto;
}

Format formatNamed(const CommandRow& command, std::string_view name) {
    const auto named = std::find_if(command.formats.begin(), command.formats.end(),
                                    [&](Format format) { return nameOf(format) == name; });
    if (named != command.formats.end()) {
        return *named;
    }
    return command.formats.empty() ? Format::Table : command.formats.front();
}

std::vector<std::string> texts(const std::vector<std::string_view>& names) {
    return {names.begin(), names.end()};
}

/// CLI11 parses a positional in brackets as a list. A NUL byte after the bracket prevents that: no
/// argument of a process can contain one.
constexpr char kBracketGuard = '\0';

std::string guarded(std::string word) {
    const bool bracketed = word.size() >= 2 && word.front() == '[' && word.back() == ']';
    return bracketed ? std::move(word) + kBracketGuard : word;
}

std::string unguarded(std::string text) {
    std::erase(text, kBracketGuard);
    return text;
}

void removeGuards(std::vector<std::string>& words) {
    for (std::string& word : words) {
        word = unguarded(std::move(word));
    }
}

/// Moves the words after "--" to the program, if the first one is a command that runs one. They are
/// not parsed: each one reaches the program verbatim.
void takeProgram(std::vector<std::string>& words, std::vector<std::string>& program) {
    const CommandRow* const row = commandNamed(words.front());
    const auto end = std::find(words.begin(), words.end(), "--");
    if (row != nullptr && row->operands == Operands::Program && end != words.end()) {
        program.assign(end + 1, words.end());
        words.erase(end, words.end());
    }
}

/// The words in reverse order, which CLI11 expects, with the command last.
/// @param program Gets the words of the program to run.
/// @throws UsageError if there is no command of that name.
std::vector<std::string> reversedWords(int argc, const char* const* argv,
                                       std::vector<std::string>& program) {
    if (argc < 2) {
        throw UsageError(overview());
    }
    std::vector<std::string> words = commandFirst({argv + 1, argv + argc});
    if (!words.front().starts_with('-') && commandNamed(words.front()) == nullptr) {
        rejectCommand(words.front());
    }
    takeProgram(words, program);
    for (std::string& word : words) {
        word = guarded(std::move(word));
    }
    std::reverse(words.begin(), words.end());
    return words;
}

class Parser {
public:
    Parser() : m_app("Shows what the configuration library answers, and asks it.", "sysconfctl") {
        const OptionRow& version = optionRow(Option::Version);
        m_app.set_version_flag(fmt::format("{},{}", version.letter, version.name),
                               "sysconfctl " SYSCONFCTL_VERSION, std::string(version.help));
        m_app.require_subcommand(0, 1);
        addHelp(m_app);
        for (const Option option : commonOptions()) {
            addOption(m_app, option, nullptr);
        }
        for (const CommandRow& row : commandTable()) {
            addCommand(row);
        }
        m_app.footer(helpFooter()); // last: commands added later would inherit it
    }

    ParsedCommandLine parse(int argc, const char* const* argv) {
        try {
            m_app.parse(reversedWords(argc, argv, m_options.program));
            const Options options = parsedOptions();
            if (options.command == Command::Version) {
                return {options, m_app.version() + '\n'};
            }
            if (options.command == Command::Help) {
                return {options, Parser().helpOn(unguarded(m_helpOn))};
            }
            return {options, std::nullopt};
        } catch (const CLI::CallForHelp&) {
            return {m_options, wrapHelp(m_app.help(), outputWidth())};
        } catch (const CLI::CallForVersion& version) {
            return {{}, std::string(version.what()) + '\n'};
        } catch (const CLI::ExtrasError&) {
            throw UsageError(
                fmt::format("{} ({} --help shows the usage)", extraWord(), usedTool()));
        } catch (const CLI::ParseError& error) {
            throw UsageError(fmt::format("{} ({} --help shows the usage)",
                                         escaped(unguarded(error.what())), usedTool()));
        }
    }

private:
    std::string helpOn(const std::string& name) const {
        if (!name.empty() && commandNamed(name) == nullptr) {
            rejectCommand(name);
        }
        const std::string help =
            name.empty() ? m_app.help() : m_app.get_subcommand(name)->help(m_app.get_name());
        return wrapHelp(help, outputWidth());
    }

    std::string usedTool() const {
        const auto given = parsedCommand();
        return given == m_commands.end() ? "sysconfctl"
                                         : fmt::format("sysconfctl {}", given->second->name);
    }

    /// The error message for the first word that the command does not accept.
    std::string extraWord() const {
        const std::vector<std::string> rest = m_app.remaining(true);
        const std::string word = rest.empty() ? "" : unguarded(rest.front());
        const auto given = parsedCommand();
        if (!word.starts_with('-')) {
            return "unexpected argument " + shellWord(word);
        }
        const std::string name = word.substr(0, word.find('='));
        std::vector<std::string_view> names;
        for (const OptionRow& row : optionTable()) {
            if (given == m_commands.end() && (name == row.name || name == row.letter)) {
                return "a command is required";
            }
            const auto taken =
                given != m_commands.end() ? optionsOf(*given->second) : std::vector{row.option};
            if (std::find(taken.begin(), taken.end(), row.option) != taken.end()) {
                names.push_back(row.name);
            }
        }
        return fmt::format("unknown option {}{}", shellWord(name), didYouMean(name, names));
    }

    using Commands = std::vector<std::pair<CLI::App*, const CommandRow*>>;

    Commands::const_iterator parsedCommand() const {
        return std::find_if(m_commands.begin(), m_commands.end(),
                            [](const auto& command) { return command.first->parsed(); });
    }

    void addCommand(const CommandRow& row) {
        CLI::App* const app = m_app.add_subcommand(std::string(row.name), std::string(row.help));
        addHelp(*app);
        addOperands(*app, row);
        for (const Option option : optionsOf(row)) {
            if (option != Option::Help) {
                addOption(*app, option, &row);
            }
        }
        m_commands.emplace_back(app, &row);
    }

    static void addHelp(CLI::App& app) {
        const OptionRow& row = optionRow(Option::Help);
        app.set_help_flag(fmt::format("{},{}", row.letter, row.name), std::string(row.help));
    }

    void addOperands(CLI::App& app, const CommandRow& row) {
        if (row.operands == Operands::Query) {
            app.add_option("QUERY", m_options.query, "Name of the query, see get --list")
                ->type_name("");
            app.add_option("ARGUMENT", m_options.arguments, "Arguments of the query")
                ->type_name("");
        } else if (row.operands == Operands::Queries) {
            app.add_option("QUERY", m_options.queries,
                           "Queries, arguments in the same word; default: all")
                ->type_name("");
        } else if (row.operands == Operands::Environments) {
            app.add_option("A", m_environmentA, "Env file, or directory of a node or deployment")
                ->type_name("");
            app.add_option("B", m_environmentB, "Environment to compare it with")->type_name("");
            app.add_option("QUERY", m_options.queries,
                           "Queries to compare, arguments in the same word; default: all")
                ->type_name("");
        } else if (row.operands == Operands::Word) {
            app.add_option("WORD", m_options.word, "An address, the id of a node, or a tag")
                ->type_name("");
        } else if (row.operands == Operands::Nodes) {
            app.add_option("NODE", m_options.nodes, "Ids of the nodes; default: all")
                ->type_name("");
        } else if (row.operands == Operands::Paths) {
            app.add_option("FILE|DIR", m_options.paths,
                           "Files or whole trees; default: the files of the environment")
                ->type_name("");
        } else if (row.operands == Operands::Command) {
            app.add_option("COMMAND", m_helpOn, "A command; default: the tool")->type_name("");
        } else if (row.operands == Operands::Program) {
            app.footer("-- PROGRAM [ARGUMENT...]\n"
                       "  The program to run and its arguments, after the options");
        }
    }

    void addOption(CLI::App& app, Option option, const CommandRow* command) {
        const OptionRow& row = optionRow(option);
        const std::string help(row.help);
        const std::string name =
            row.letter.empty() ? std::string(row.name) : fmt::format("{},{}", row.letter, row.name);
        CLI::Option* added = nullptr;
        switch (option) {
        case Option::EnvFile:
            added = app.add_option(name, m_envFile, help);
            break;
        case Option::Set:
            added = app.add_option(name, m_options.sets, help);
            break;
        case Option::Pid:
            added = app.add_option(name, m_options.pids, help);
            break;
        case Option::LocalAddress:
            added = app.add_option(name, m_options.localAddresses, help);
            break;
        case Option::Tenancy:
            added = app.add_option(name, m_options.filter.tenancies, help);
            break;
        case Option::Role:
            added = app.add_option(name, m_options.filter.roles, help);
            break;
        case Option::Tag:
            added = app.add_option(name, m_options.filter.tags, help);
            break;
        case Option::Missing:
            added = app.add_option(name, m_options.filter.missingTags, help);
            break;
        case Option::Sort:
            added = app.add_option(name, m_options.sort, help)
                        ->check(CLI::IsMember(texts(sortFields())).description(""));
            break;
        case Option::Output:
            added = addFormat(app, name, help, *command);
            break;
        case Option::File:
            added = app.add_option(name, m_file, help);
            break;
        case Option::Color:
            added = addColor(app, name, help);
            break;
        case Option::RevealSecrets:
            app.add_flag(name, m_options.revealSecrets, help);
            break;
        case Option::NoPager:
            app.add_flag(name, m_options.noPager, help);
            break;
        case Option::List:
            app.add_flag(name, m_list, help);
            break;
        case Option::Shell:
            app.add_flag(name, m_options.shell, help);
            break;
        case Option::Systemd:
            app.add_flag(name, m_options.systemd, help);
            break;
        case Option::OnChange:
            added = app.add_option(name, m_options.onChange, help);
            break;
        case Option::Only:
            added = app.add_option(name, m_options.only, help);
            break;
        case Option::All:
            app.add_flag(name, m_options.all, help);
            break;
        case Option::Verbose:
            app.add_flag(name, m_options.verbose, help);
            break;
        case Option::Strict:
            app.add_flag(name, m_options.strict, help);
            break;
        case Option::Ignore:
            added = app.add_option(name, m_options.ignored, help);
            break;
        case Option::Notes:
            app.add_flag(name, m_options.notes, help);
            break;
        case Option::Help:
        case Option::Version:
            break;
        }
        if (added != nullptr) {
            added->type_name(std::string(row.value));
            if (row.repeatable) {
                // Several queries may follow, because operands follow only after "--".
                added->allow_extra_args(option == Option::Only);
            } else {
                added->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
            }
        }
    }

    CLI::Option* addFormat(CLI::App& app, const std::string& name, const std::string& help,
                           const CommandRow& command) {
        std::vector<std::string> names;
        for (const Format format : command.formats) {
            names.emplace_back(nameOf(format));
        }
        return app.add_option(name, m_format, fmt::format("{}: {}", help, formatsHelp(command)))
            ->check(CLI::IsMember(names).description(""));
    }

    CLI::Option* addColor(CLI::App& app, const std::string& name, const std::string& help) {
        return app
            .add_option_function<std::string>(
                name, [this](const std::string& when) { m_options.color = colorNamed(when); }, help)
            ->check(CLI::IsMember(texts(colorNames())).description(""));
    }

    Options parsedOptions() {
        const auto given = parsedCommand();
        if (given == m_commands.end()) {
            throw UsageError("a command is required (sysconfctl help lists them)");
        }
        const CommandRow& row = *given->second;
        m_options.command = m_list ? Command::List : row.command;
        m_options.format = formatNamed(row, m_format);
        m_options.formatGiven = !m_format.empty();
        if (!m_envFile.empty()) {
            m_options.envFile = unguarded(m_envFile);
        }
        m_options.query = unguarded(m_options.query);
        removeGuards(m_options.arguments);
        removeGuards(m_options.queries);
        setProcesses();
        if (row.operands == Operands::Environments) {
            setEnvironments(row);
        } else if (m_options.pids.size() == 1) {
            m_options.pid = m_options.pids.front();
        } else if (m_options.pids.size() > 1) {
            throw UsageError("--pid: one process only; diff compares two");
        }
        m_options.word = unguarded(m_options.word);
        removeGuards(m_options.nodes);
        for (auto* const words : {&m_options.filter.tenancies, &m_options.filter.roles,
                                  &m_options.filter.tags, &m_options.filter.missingTags}) {
            removeGuards(*words);
        }
        removeGuards(m_options.localAddresses);
        removeGuards(m_options.paths);
        removeGuards(m_options.ignored);
        if (!m_file.empty()) {
            m_options.file = unguarded(m_file);
        }
        removeGuards(m_options.only);
        if (row.operands == Operands::Program && m_options.program.empty()) {
            throw UsageError(fmt::format("{0} takes a program after --: sysconfctl {0} [OPTIONS] "
                                         "-- PROGRAM [ARGUMENT...]",
                                         row.name));
        }
        if (m_options.shell || m_options.systemd) {
            setQueriesOfVariables();
        } else if (row.operands == Operands::Query &&
                   (m_list || m_options.all) != m_options.query.empty()) {
            throw UsageError(fmt::format("{} takes either a query or {}", row.name,
                                         optionRow(row.options.front()).name));
        }
        return m_options;
    }

    void setProcesses() {
        removeGuards(m_options.pids);
        if (!m_options.pids.empty() && m_options.envFile) {
            throw UsageError("--pid and --env-file both name an environment; give one of them");
        }
    }

    void setQueriesOfVariables() {
        if (m_list || m_options.formatGiven || (m_options.shell && m_options.systemd)) {
            throw UsageError("--shell, --systemd, --list and --output exclude each other");
        }
        m_options.queries = m_options.arguments;
        if (!m_options.query.empty()) {
            m_options.queries.insert(m_options.queries.begin(), m_options.query);
        }
    }

    /// Each process replaces an operand.
    void setEnvironments(const CommandRow& row) {
        if (m_options.envFile) {
            throw UsageError(fmt::format("{} compares the environments A and B and takes no "
                                         "--env-file",
                                         row.name));
        }
        std::vector<std::string> words;
        for (const std::string& environment : {m_environmentA, m_environmentB}) {
            if (!environment.empty()) {
                words.push_back(unguarded(environment));
            }
        }
        words.insert(words.end(), m_options.queries.begin(), m_options.queries.end());
        constexpr std::size_t kTwo = 2;
        if (m_options.pids.size() > kTwo || m_options.pids.size() + words.size() < kTwo) {
            throw UsageError(fmt::format("{} takes two environments: env files, directories or "
                                         "--pid",
                                         row.name));
        }
        const auto first =
            words.begin() + static_cast<std::ptrdiff_t>(kTwo - m_options.pids.size());
        m_options.environments.assign(words.begin(), first);
        m_options.queries.assign(first, words.end());
    }

    CLI::App m_app;
    Commands m_commands;
    std::string m_envFile;
    std::string m_helpOn;
    Options m_options;
    std::string m_environmentA;
    std::string m_environmentB;
    std::string m_format;
    std::string m_file;
    bool m_list = false;
};

} // namespace

ParsedCommandLine parseCommandLine(int argc, const char* const* argv) {
    return Parser().parse(argc, argv);
}

bool asksForJson(int argc, const char* const* argv) {
    const OptionRow& output = optionRow(Option::Output);
    const std::string json(nameOf(Format::Json));
    bool asked = false; // by the last one
    for (int i = 1; i < argc && std::string_view(argv[i]) != "--"; ++i) {
        const std::string word = argv[i];
        if ((word == output.name || word == output.letter) && i + 1 < argc) {
            asked = argv[i + 1] == json;
        } else if (word.starts_with(fmt::format("{}=", output.name))) {
            asked = word.ends_with('=' + json);
        } else if (word.starts_with(output.letter)) {
            asked = word == fmt::format("{}{}", output.letter, json);
        }
    }
    return asked;
}

} // namespace sysconfctl
