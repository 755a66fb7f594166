#pragma once

#include <string>
#include <string_view>
#include <vector>

/// Commands, options, formats, exit statuses and variables of the tool, each listed here and
/// nowhere else: the parser, the help, and the completion of shells are made of this table, and the
/// manual page is held to it.
namespace sysconfctl {

enum class Command { Show, Get, Watch, List, Explain, Check, Nodes, Map };
enum class Format { Table, Plain, Json, Wide, Dot, Mermaid, Svg };

enum class Option {
    EnvFile,
    Set,
    Output,
    Color,
    RevealSecrets,
    LocalAddress,
    List,
    All,
    Strict,
    Help,
    Version
};

struct OptionRow {
    Option option;
    std::string_view name;
    /// The same in one letter; empty when there is none.
    std::string_view letter;
    /// What the help calls the option's value; empty for a flag.
    std::string_view value;
    std::string_view help;
    bool repeatable = false;
};

/// What stands behind a command and is no option.
enum class Operands { None, Query, Nodes };

struct CommandRow {
    Command command;
    std::string_view name;
    std::string_view help;
    /// The first one is the default.
    std::vector<Format> formats;
    Operands operands = Operands::None;
    /// Beside those that every command has.
    std::vector<Option> options = {};
};

struct StatusRow {
    int status;
    std::string_view meaning;
};

struct VariableRow {
    std::string_view name;
    std::string_view meaning;
};

/// In the order in which the help shows them.
const std::vector<CommandRow>& commandTable();
const std::vector<OptionRow>& optionTable();
const std::vector<StatusRow>& statusTable();
/// Environment variables that the tool reads, or the library inside it.
const std::vector<VariableRow>& variableTable();

const OptionRow& optionRow(Option option);
std::string_view nameOf(Format format);

/// Options that stand before a command or behind it, and those that any command takes.
const std::vector<Option>& commonOptions();
std::vector<Option> optionsOf(const CommandRow& command);

/// The texts that `--color` takes.
const std::vector<std::string_view>& colorNames();

/// "one of table, plain, json; default: table"
std::string formatsHelp(const CommandRow& command);

} // namespace sysconfctl
