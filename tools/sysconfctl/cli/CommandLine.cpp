// SPDX-License-Identifier: Apache-2.0
#include "cli/CommandLine.h"

#include "cli/CommandWords.h"
#include "cli/GivenOptions.h"
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

std::vector<std::string> texts(const std::vector<std::string_view>& names) {
    return {names.begin(), names.end()};
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
            CommandWords words = commandWords(argc, argv);
            m_given.options.program = std::move(words.program);
            m_app.parse(std::move(words.reversed));
            const auto given = parsedCommand();
            if (given == m_commands.end()) {
                throw UsageError("a command is required (sysconfctl help lists them)");
            }
            const Options options = checkedOptions(m_given, *given->second);
            if (options.command == Command::Version) {
                return {options, m_app.version() + '\n'};
            }
            if (options.command == Command::Help) {
                return {options, Parser().helpOn(unguarded(m_helpOn))};
            }
            return {options, std::nullopt};
        } catch (const CLI::CallForHelp&) {
            return {m_given.options, wrapHelp(m_app.help(), outputWidth())};
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
            app.add_option("QUERY", m_given.options.query, "Name of the query, see get --list")
                ->type_name("");
            app.add_option("ARGUMENT", m_given.options.arguments, "Arguments of the query")
                ->type_name("");
        } else if (row.operands == Operands::Queries) {
            app.add_option("QUERY", m_given.options.queries,
                           "Queries, arguments in the same word; default: all")
                ->type_name("");
        } else if (row.operands == Operands::Environments) {
            app.add_option("A", m_given.environmentA,
                           "Env file, or directory of a node or deployment")
                ->type_name("");
            app.add_option("B", m_given.environmentB, "Environment to compare it with")
                ->type_name("");
            app.add_option("QUERY", m_given.options.queries,
                           "Queries to compare, arguments in the same word; default: all")
                ->type_name("");
        } else if (row.operands == Operands::Word) {
            app.add_option("WORD", m_given.options.word, "An address, the id of a node, or a tag")
                ->type_name("");
        } else if (row.operands == Operands::Nodes) {
            app.add_option("NODE", m_given.options.nodes, "Ids of the nodes; default: all")
                ->type_name("");
        } else if (row.operands == Operands::Paths) {
            app.add_option("FILE|DIR", m_given.options.paths,
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
            added = app.add_option(name, m_given.envFile, help);
            break;
        case Option::Set:
            added = app.add_option(name, m_given.options.sets, help);
            break;
        case Option::Pid:
            added = app.add_option(name, m_given.options.pids, help);
            break;
        case Option::LocalAddress:
            added = app.add_option(name, m_given.options.localAddresses, help);
            break;
        case Option::Tenancy:
            added = app.add_option(name, m_given.options.filter.tenancies, help);
            break;
        case Option::Role:
            added = app.add_option(name, m_given.options.filter.roles, help);
            break;
        case Option::Tag:
            added = app.add_option(name, m_given.options.filter.tags, help);
            break;
        case Option::Missing:
            added = app.add_option(name, m_given.options.filter.missingTags, help);
            break;
        case Option::Sort:
            added = app.add_option(name, m_given.options.sort, help)
                        ->check(CLI::IsMember(texts(sortFields())).description(""));
            break;
        case Option::Output:
            added = addFormat(app, name, help, *command);
            break;
        case Option::File:
            added = app.add_option(name, m_given.file, help);
            break;
        case Option::Color:
            added = addColor(app, name, help);
            break;
        case Option::RevealSecrets:
            app.add_flag(name, m_given.options.revealSecrets, help);
            break;
        case Option::NoPager:
            app.add_flag(name, m_given.options.noPager, help);
            break;
        case Option::List:
            app.add_flag(name, m_given.list, help);
            break;
        case Option::Shell:
            app.add_flag(name, m_given.options.shell, help);
            break;
        case Option::Systemd:
            app.add_flag(name, m_given.options.systemd, help);
            break;
        case Option::OnChange:
            added = app.add_option(name, m_given.options.onChange, help);
            break;
        case Option::Only:
            added = app.add_option(name, m_given.options.only, help);
            break;
        case Option::All:
            app.add_flag(name, m_given.options.all, help);
            break;
        case Option::Verbose:
            app.add_flag(name, m_given.options.verbose, help);
            break;
        case Option::Strict:
            app.add_flag(name, m_given.options.strict, help);
            break;
        case Option::Ignore:
            added = app.add_option(name, m_given.options.ignored, help);
            break;
        case Option::Notes:
            app.add_flag(name, m_given.options.notes, help);
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
        return app
            .add_option(name, m_given.format, fmt::format("{}: {}", help, formatsHelp(command)))
            ->check(CLI::IsMember(names).description(""));
    }

    CLI::Option* addColor(CLI::App& app, const std::string& name, const std::string& help) {
        return app
            .add_option_function<std::string>(
                name, [this](const std::string& when) { m_given.options.color = colorNamed(when); },
                help)
            ->check(CLI::IsMember(texts(colorNames())).description(""));
    }

    CLI::App m_app;
    Commands m_commands;
    std::string m_helpOn;
    GivenOptions m_given;
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
