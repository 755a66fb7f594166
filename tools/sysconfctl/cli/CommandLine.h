// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "cli/CommandTable.h"
#include "deployment/NodeFilter.h"
#include "render/Color.h"

#include <optional>
#include <string>
#include <vector>

namespace sysconfctl {

struct Options {
    Command command = Command::Show;
    Format format = Format::Table;
    bool formatGiven = false;
    std::optional<std::string> envFile;
    std::vector<std::string> sets;
    std::optional<std::string> pid;
    bool revealSecrets = false;
    bool noPager = false;
    std::string query;
    std::vector<std::string> arguments;
    /// The processes to compare; they precede the other environments.
    std::vector<std::string> pids;
    /// The environments to compare: env files and directories.
    std::vector<std::string> environments;
    /// The queries to watch or compare, each in one word with its arguments; empty: all.
    std::vector<std::string> queries;
    std::string word;
    /// Ids of the nodes to list; empty: all.
    std::vector<std::string> nodes;
    NodeFilter filter;
    /// The field by which nodes are sorted; empty: the id.
    std::string sort;
    bool shell = false;
    bool systemd = false;
    /// What to do when an answer changes: "restart", "none" or the name of a signal.
    std::string onChange = "restart";
    /// The queries whose answers the program gets; empty: all.
    std::vector<std::string> only;
    std::vector<std::string> program;
    bool all = false;
    bool verbose = false;
    bool strict = false;
    /// Files and folders to check; empty: those of the environment.
    std::vector<std::string> paths;
    std::vector<std::string> ignored;
    bool notes = false;
    /// The file to write to; unset: standard output.
    std::optional<std::string> file;
    ColorChoice color = ColorChoice::Auto;
    /// Used in place of the host's addresses; empty: the real ones.
    std::vector<std::string> localAddresses;
};

/// The request of a command line: a command to run, or a text (help, version) to print.
struct ParsedCommandLine {
    Options options;
    std::optional<std::string> text;
};

/// @throws UsageError if the command line is invalid.
ParsedCommandLine parseCommandLine(int argc, const char* const* argv);

/// Whether a command line requests JSON output, even if the rest of it is invalid.
bool asksForJson(int argc, const char* const* argv);

} // namespace sysconfctl
