#pragma once

#include "cli/CommandTable.h"
#include "render/Color.h"

#include <optional>
#include <string>
#include <vector>

namespace sysconfctl {

/// A command line, understood.
struct Options {
    Command command = Command::Show;
    Format format = Format::Table;
    std::optional<std::string> envFile;
    std::vector<std::string> sets;
    bool revealSecrets = false;
    std::string query;
    std::vector<std::string> arguments;
    /// Ids of the nodes that are asked for; empty: all.
    std::vector<std::string> nodes;
    /// Every query, not one.
    bool all = false;
    /// Warnings count, too.
    bool strict = false;
    ColorChoice color = ColorChoice::Auto;
    /// What counts as the host's addresses; empty: those that it has.
    std::vector<std::string> localAddresses;
};

/// What a command line asks for: something to do, or a text (help, version) to print.
struct ParsedCommandLine {
    Options options;
    std::optional<std::string> text;
};

/// @throws UsageError for anything that is not understood.
ParsedCommandLine parseCommandLine(int count, const char* const* words);

/// Whether a command line asks for JSON, be the rest of it understood or not.
bool asksForJson(int count, const char* const* words);

} // namespace sysconfctl
