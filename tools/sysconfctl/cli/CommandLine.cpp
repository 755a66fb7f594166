// SPDX-License-Identifier: Apache-2.0
#include "cli/CommandLine.h"

#include "cli/Address.h"
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

constexpr const char* kEnvironmentFiles = R"(
Environment files have KEY=VALUE lines and comments (#). Relative values of
APP_CONF_FILE, APP_ROOT and TOLM_ROOT start at the file's own folder; these
three and PROCESS_INSTANCE_ID are unset if the file does not set them.)";

std::string footer() {
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

/// Options that are accepted before and after the command.
struct CommonOptions {
    std::string envFile;
    std::vector<std::string> sets;
    std::vector<std::string> pids;
};

ColorChoice colorNamed(std::string_view name) {
    return name == "always"  ? ColorChoice::Always
           : name == "never" ? ColorChoice::Never
                             : ColorChoice::Auto;
}

Format formatNamed(const CommandRow& command, std::string_view name) {
    const auto named = std::find_if(command.formats.begin(), command.formats.end(),
                                    [&](Format format) { return nameOf(format) == name; });
    return named != command.formats.end() ? *named
           : !command.formats.empty()     ? command.formats.front()
                                          : Format::Table;
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

/// The words in reverse order, which CLI11 expects.
std::vector<std::string> reversedWords(int argc, const char* const* argv) {
    std::vector<std::string> reversed;
    for (int i = argc - 1; i > 0; --i) {
        reversed.push_back(guarded(argv[i]));
    }
    return reversed;
}

/// Wraps help to `width` columns. Continuation lines start in the column of the descriptions.
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

class Parser {
public:
    Parser() : m_app("Shows what the configuration library answers, and asks it.", "sysconfctl") {
        m_app.set_version_flag(std::string(optionRow(Option::Version).name),
                               "sysconfctl " SYSCONFCTL_VERSION,
                               std::string(optionRow(Option::Version).help));
        m_app.require_subcommand(0, 1);
        addHelp(m_app);
        for (const Option option : commonOptions()) {
            addOption(m_app, option, m_beforeCommand, nullptr);
        }
        for (const CommandRow& row : commandTable()) {
            addCommand(row);
        }
        m_app.footer(footer()); // last: commands added later would inherit it
    }

    ParsedCommandLine parse(int argc, const char* const* argv) {
        try {
            m_app.parse(reversedWords(argc, argv));
            return {parsedOptions(), std::nullopt};
        } catch (const CLI::CallForHelp&) {
            rejectUnknownCommand();
            return {{}, wrapHelp(m_app.help(), outputWidth())};
        } catch (const CLI::CallForVersion& version) {
            return {{}, std::string(version.what()) + '\n'};
        } catch (const CLI::ParseError& error) {
            rejectUnknownCommand();
            throw UsageError(escaped(unguarded(error.what())) +
                             " (sysconfctl --help shows the usage)");
        }
    }

private:
    /// CLI11 prints the help of the tool for "unknown --help".
    /// @throws UsageError if a word is in the place of a command and names none.
    void rejectUnknownCommand() const {
        const std::vector<std::string> rest = m_app.remaining();
        if (parsedCommand() != m_commands.end() || rest.empty() || rest.front().starts_with('-')) {
            return;
        }
        std::vector<std::string_view> names;
        for (const CommandRow& row : commandTable()) {
            names.push_back(row.name);
        }
        const std::string word = unguarded(rest.front());
        const std::string near = suggestion(word, names);
        throw UsageError(fmt::format("unknown command {}{} (sysconfctl --help lists them)",
                                     shellWord(word),
                                     near.empty() ? "" : fmt::format(", did you mean {}?", near)));
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
                addOption(*app, option, m_afterCommand, &row);
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
        } else if (row.operands == Operands::Environments) {
            app.add_option("A", m_environmentA, "Env file, or directory of a node or deployment")
                ->type_name("");
            app.add_option("B", m_environmentB, "The same, to compare it with")->type_name("");
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
        }
    }

    void addOption(CLI::App& app, Option option, CommonOptions& common, const CommandRow* command) {
        const OptionRow& row = optionRow(option);
        const std::string help(row.help);
        const std::string name =
            row.letter.empty() ? std::string(row.name) : fmt::format("{},{}", row.letter, row.name);
        CLI::Option* added = nullptr;
        switch (option) {
        case Option::EnvFile:
            added = app.add_option(name, common.envFile, help);
            break;
        case Option::Set:
            added = app.add_option(name, common.sets, help);
            break;
        case Option::Pid:
            added = app.add_option(name, common.pids, help);
            break;
        case Option::LocalAddress:
            added = app.add_option(name, m_options.localAddresses, help);
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
        case Option::List:
            app.add_flag(name, m_list, help);
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
                added->allow_extra_args(false);
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
        const std::vector<std::string> names(colorNames().begin(), colorNames().end());
        return app
            .add_option_function<std::string>(
                name, [this](const std::string& when) { m_options.color = colorNamed(when); }, help)
            ->check(CLI::IsMember(names).description(""));
    }

    Options parsedOptions() {
        const auto given = parsedCommand();
        if (given == m_commands.end()) {
            throw UsageError("a command is required (sysconfctl --help lists them)");
        }
        const CommandRow& row = *given->second;
        m_options.command = m_list ? Command::List : row.command;
        m_options.format = formatNamed(row, m_format);
        m_options.sets = m_beforeCommand.sets;
        m_options.sets.insert(m_options.sets.end(), m_afterCommand.sets.begin(),
                              m_afterCommand.sets.end());
        for (const std::string& file : {m_beforeCommand.envFile, m_afterCommand.envFile}) {
            if (!file.empty()) {
                m_options.envFile = unguarded(file);
            }
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
        removeGuards(m_options.localAddresses);
        for (std::string& address : m_options.localAddresses) {
            address = parseAddress(address);
        }
        removeGuards(m_options.paths);
        removeGuards(m_options.ignored);
        if (!m_file.empty()) {
            m_options.file = unguarded(m_file);
        }
        if (row.operands == Operands::Query &&
            (m_list || m_options.all) != m_options.query.empty()) {
            throw UsageError(fmt::format("{} takes either a query or {}", row.name,
                                         optionRow(row.options.front()).name));
        }
        return m_options;
    }

    void setProcesses() {
        for (const CommonOptions& options : {m_beforeCommand, m_afterCommand}) {
            for (const std::string& pid : options.pids) {
                m_options.pids.push_back(unguarded(pid));
            }
        }
        if (!m_options.pids.empty() && m_options.envFile) {
            throw UsageError("--pid and --env-file both name an environment; give one of them");
        }
    }

    /// Each process takes the place of an operand.
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
    CommonOptions m_beforeCommand;
    CommonOptions m_afterCommand;
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
    for (int i = 1; i < argc; ++i) {
        const std::string_view word = argv[i];
        if (word == "--") {
            return false;
        }
        const bool named = word == output.name || word == output.letter;
        if (named && i + 1 < argc && argv[i + 1] == json) {
            return true;
        }
        if (word == fmt::format("{}={}", output.name, json) ||
            word == fmt::format("{}{}", output.letter, json)) {
            return true;
        }
    }
    return false;
}

} // namespace sysconfctl
