// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>
#include <vector>

/// The only list of the tool's commands, options, formats, exit statuses and variables. A test
/// compares the manual page with it.
namespace sysconfctl {

enum class Command {
    Show,
    Get,
    Watch,
    Exec,
    List,
    Explain,
    Diff,
    Who,
    Check,
    Nodes,
    Map,
    Report,
    Help,
    Version
};
enum class Format { Table, Plain, Json, Name, Wide, Dot, Mermaid, Svg, Sarif, Junit, Github };

enum class Option {
    EnvFile,
    Set,
    Pid,
    Output,
    File,
    Color,
    RevealSecrets,
    NoPager,
    LocalAddress,
    Tenancy,
    Role,
    Tag,
    Missing,
    Sort,
    List,
    Shell,
    Systemd,
    OnChange,
    Only,
    All,
    Verbose,
    Strict,
    Ignore,
    Notes,
    Help,
    Version
};

struct OptionRow {
    Option option;
    std::string_view name;
    /// The short form, such as "-o"; empty if there is none.
    std::string_view letter;
    /// The name of the option's value in the help; empty for a flag.
    std::string_view value;
    std::string_view help;
    bool repeatable = false;
};

enum class Operands { None, Query, Queries, Environments, Word, Nodes, Paths, Program, Command };

struct CommandRow {
    Command command;
    std::string_view name;
    std::string_view help;
    /// The first one is the default. Without formats, the command has no option --output.
    std::vector<Format> formats;
    Operands operands = Operands::None;
    /// In addition to those of every command.
    std::vector<Option> options = {};
};

struct StatusRow {
    int status;
    std::string_view meaning;
};

struct VariableRow {
    std::string_view name;
    std::string_view meaning;
    /// Read by the library or its event library, so that it belongs in an environment file.
    bool ofLibrary = false;
};

/// In the order of the help.
const std::vector<CommandRow>& commandTable();
const std::vector<OptionRow>& optionTable();
const std::vector<StatusRow>& statusTable();
const std::vector<VariableRow>& variableTable();

const CommandRow* commandNamed(std::string_view name);
const OptionRow& optionRow(Option option);
std::string_view nameOf(Format format);

const std::vector<Option>& commonOptions();
std::vector<Option> optionsOf(const CommandRow& command);

const std::vector<std::string_view>& colorNames();

/// "one of table, plain, json; default: table"
std::string formatsHelp(const CommandRow& command);

} // namespace sysconfctl
