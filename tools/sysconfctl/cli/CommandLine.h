// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "cli/CommandTable.h"
#include "deployment/NodeFilter.h"
#include "render/Color.h"

#include <optional>
#include <string>
#include <vector>

namespace sysconfctl {

/// A parsed command line.
struct Options {
    Command command = Command::Show;
    Format format = Format::Table;
    bool formatGiven = false;
    std::optional<std::string> envFile;
    std::vector<std::string> sets;
    bool revealSecrets = false;
    bool noPager = false;
    std::string query;
    std::vector<std::string> arguments;
    /// The queries to watch, each with its arguments in one word; empty: all.
    std::vector<std::string> queries;
    /// Ids of the nodes to list; empty: all.
    std::vector<std::string> nodes;
    NodeFilter filter;
    /// The field by which nodes are sorted; empty: the id.
    std::string sort;
    /// Explain every query, not a single one.
    bool all = false;
    /// Show every step of an explanation.
    bool verbose = false;
    /// Warnings change the exit status, too.
    bool strict = false;
    /// Files and folders to check; empty: those of the environment.
    std::vector<std::string> paths;
    /// Names of findings to leave out.
    std::vector<std::string> ignored;
    bool notes = false;
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
