// SPDX-License-Identifier: Apache-2.0
#include "cli/CommandTable.h"

#include <fmt/format.h>

#include <algorithm>

namespace sysconfctl {

const std::vector<CommandRow>& commandTable() {
    using enum Format;
    static const std::vector<CommandRow> table = {
        {Command::Show,
         "show",
         "Show every answer of the library",
         {Table, Plain, Json},
         Operands::None,
         {Option::Verbose, Option::LocalAddress}},
        {Command::Get,
         "get",
         "Print one answer, bare, for scripts",
         {Plain, Table, Json},
         Operands::Query,
         {Option::List, Option::Shell, Option::Systemd, Option::LocalAddress}},
        {Command::Watch,
         "watch",
         "Show answers, then each change with its cause, until Ctrl-C",
         {Table, Plain, Json},
         Operands::Queries},
        {Command::Exec,
         "exec",
         "Run a program with the answers in its environment",
         {},
         Operands::Program,
         {Option::OnChange, Option::Only}},
        {Command::Explain,
         "explain",
         "Explain why an answer is what it is",
         {Table, Plain, Json},
         Operands::Query,
         {Option::All, Option::Verbose, Option::LocalAddress}},
        {Command::Diff,
         "diff",
         "Show which answers of two environments differ, and why",
         {Table, Plain, Json},
         Operands::Environments,
         {Option::LocalAddress}},
        {Command::Who,
         "who",
         "Show where an address, a node or a tag appears",
         {Table, Plain, Json},
         Operands::Word,
         {Option::LocalAddress}},
        {Command::Check,
         "check",
         "Find what is wrong with files and environment",
         {Table, Plain, Json, Sarif, Junit, Github},
         Operands::Paths,
         {Option::Strict, Option::Ignore, Option::Notes, Option::LocalAddress}},
        {Command::Nodes,
         "nodes",
         "List the nodes of both node lists, or those named",
         {Table, Wide, Name, Plain, Json},
         Operands::Nodes,
         {Option::Tenancy, Option::Role, Option::Tag, Option::Missing, Option::Sort,
          Option::LocalAddress}},
        {Command::Map,
         "map",
         "Draw the deployment",
         {Dot, Mermaid, Svg, Table, Plain, Json},
         Operands::None,
         {Option::Tenancy, Option::Role, Option::Tag, Option::Missing, Option::LocalAddress}},
        {Command::Report,
         "report",
         "Write nodes, answers and findings to an HTML page",
         {},
         Operands::None,
         {Option::File, Option::LocalAddress}},
        {Command::Help,
         "help",
         "Show the usage of the tool, or of a command",
         {},
         Operands::Command},
        {Command::Version, "version", "Show the version", {}},
    };
    return table;
}

const std::vector<OptionRow>& optionTable() {
    static const std::vector<OptionRow> table = {
        {Option::EnvFile, "--env-file", "", "FILE",
         "Environment of the process to ask about; default: the current one"},
        {Option::Set, "--set", "", "KEY=VALUE", "Set a variable, after --env-file; repeatable",
         true},
        {Option::Pid, "--pid", "", "PID",
         "Environment and working directory of a running process; twice for diff", true},
        {Option::Output, "--output", "-o", "FORMAT", "Format of the output"},
        {Option::File, "--file", "-o", "FILE", "Write to FILE; default: standard output"},
        {Option::Color, "--color", "", "WHEN",
         "Colour: one of auto, always, never; default: auto, on a terminal unless NO_COLOR is set"},
        {Option::RevealSecrets, "--reveal-secrets", "", "",
         "Do not mask passwords and other secrets"},
        {Option::NoPager, "--no-pager", "", "",
         "Write long output directly to a terminal, not through a pager"},
        {Option::LocalAddress, "--local-address", "", "ADDRESS",
         "Address of the host, instead of its real ones; repeatable", true},
        {Option::Tenancy, "--tenancy", "", "TENANCY",
         "Only nodes of that tenancy; repeatable: of any of them", true},
        {Option::Role, "--role", "", "ROLE",
         "Only nodes with that hostType or domain_node_type; repeatable: with any of them", true},
        {Option::Tag, "--tag", "", "TAG",
         "Only nodes with an address of that tag; repeatable: of all of them", true},
        {Option::Missing, "--missing", "", "TAG",
         "Only nodes without an address of that tag; repeatable: of none of them", true},
        {Option::Sort, "--sort", "", "FIELD",
         "Sort by node, role, tenancy, host-tag, maintenance, service or internal"},
        {Option::List, "--list", "", "", "List all queries with their arguments"},
        {Option::Shell, "--shell", "", "", "Print answers as assignments for a shell"},
        {Option::Systemd, "--systemd", "", "", "Print answers as lines of an EnvironmentFile"},
        {Option::OnChange, "--on-change", "", "ACTION",
         "When an answer changes: restart, none, or a signal to send; default: restart"},
        {Option::Only, "--only", "", "QUERY", "Only the variable of that query; repeatable", true},
        {Option::All, "--all", "", "", "Every query"},
        {Option::Verbose, "--verbose", "-v", "",
         "All steps and JSON pointers (explain); the load (show)"},
        {Option::Strict, "--strict", "", "", "Exit with 4 if there are only warnings"},
        {Option::Ignore, "--ignore", "", "NAME", "Leave out the findings of that name; repeatable",
         true},
        {Option::Notes, "--notes", "", "", "List notes, too"},
        {Option::Help, "--help", "-h", "", "Print this help message and exit"},
        {Option::Version, "--version", "-V", "", "Display program version information and exit"},
    };
    return table;
}

const std::vector<StatusRow>& statusTable() {
    static const std::vector<StatusRow> table = {
        {0, "answered; no difference (diff); no errors (check); ended by Ctrl-C or\n"
            "SIGTERM (watch)"},
        {1, "no answer: the library returns an empty text or -1 (get, explain), no variable\n"
            "leads to a configuration (show), there is no such node (nodes, map), or\n"
            "nothing that draws (map); different (diff); nowhere (who)"},
        {2, "bad usage; the answer is a secret, and --reveal-secrets is not given (get)"},
        {3, "the library threw; errors found (check)"},
        {4, "warnings found, no errors (check --strict)"},
        {70, "output could not be written, or an internal error, such as an\n"
             "explanation that does not match the library's answer (explain)"},
        {126, "the program cannot be run (exec)"},
        {127, "there is no such program (exec); otherwise exec ends as the program"},
    };
    return table;
}

const std::vector<VariableRow>& variableTable() {
    static const std::vector<VariableRow> table = {
        {"APP_CONF_FILE", "the application configuration file", true},
        {"PROCESS_INSTANCE_ID", "the key of the process in it", true},
        {"APP_ROOT", "the root directory of the node list", true},
        {"TOLM_ROOT", "the root directory of the list of all nodes", true},
        {"NO_EM_CLIENT", "disables change events", true},
        {"NO_EM_CLIENT_CONSUMER", "disables change events", true},
        {"SYSCONF_EVENT_QUIET_MS", "milliseconds without a change before an event", true},
        {"NO_COLOR", "no colour"},
        {"COLUMNS", "width of tables"},
        {"PAGER", "shows long output on a terminal; default: less; empty or cat: none"},
        {"LESS", "options of less; default: FRX"},
        {"HOME", "replaces ~ in shell completion"},
    };
    return table;
}

const CommandRow* commandNamed(std::string_view name) {
    const auto& table = commandTable();
    const auto found = std::find_if(table.begin(), table.end(),
                                    [&](const CommandRow& row) { return row.name == name; });
    return found != table.end() ? &*found : nullptr;
}

const OptionRow& optionRow(Option option) {
    const auto& table = optionTable();
    return *std::find_if(table.begin(), table.end(),
                         [&](const OptionRow& row) { return row.option == option; });
}

std::string_view nameOf(Format format) {
    switch (format) {
    case Format::Plain:
        return "plain";
    case Format::Json:
        return "json";
    case Format::Name:
        return "name";
    case Format::Wide:
        return "wide";
    case Format::Dot:
        return "dot";
    case Format::Mermaid:
        return "mermaid";
    case Format::Svg:
        return "svg";
    case Format::Sarif:
        return "sarif";
    case Format::Junit:
        return "junit";
    case Format::Github:
        return "github";
    case Format::Table:
        break;
    }
    return "table";
}

const std::vector<Option>& commonOptions() {
    static const std::vector<Option> options = {Option::EnvFile,       Option::Set,
                                                Option::Pid,           Option::Color,
                                                Option::RevealSecrets, Option::NoPager};
    return options;
}

std::vector<Option> optionsOf(const CommandRow& command) {
    std::vector<Option> options = command.options;
    if (!command.formats.empty()) {
        options.push_back(Option::Output);
    }
    options.insert(options.end(), commonOptions().begin(), commonOptions().end());
    options.push_back(Option::Help);
    return options;
}

const std::vector<std::string_view>& colorNames() {
    static const std::vector<std::string_view> names = {"auto", "always", "never"};
    return names;
}

std::string formatsHelp(const CommandRow& command) {
    std::string names;
    for (const Format format : command.formats) {
        names += names.empty() ? "" : ", ";
        names += nameOf(format);
    }
    return fmt::format("one of {}; default: {}", names, nameOf(command.formats.front()));
}

} // namespace sysconfctl
