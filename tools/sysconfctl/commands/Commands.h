// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "cli/CommandLine.h"
#include "cli/ExitStatus.h"

namespace sysconfctl {

/// Shows all answers. Exceptions of the library are also reported on standard error.
ExitStatus runShow(const Options& options);

/// Prints one answer.
ExitStatus runGet(const Options& options);

/// Shows all answers, then each change, until SIGINT, SIGTERM or SIGHUP. First reports on standard
/// error whether change events are subscribed. Without a subscription, only answers that the
/// library reads from the files on every call can change.
ExitStatus runWatch(const Options& options);

/// Explains one answer, or all.
ExitStatus runExplain(const Options& options);

/// Compares the answers of two environments.
ExitStatus runDiff(const Options& options);

/// Shows where a word appears: in the files and in the answers.
/// @throws UsageError if there is none.
ExitStatus runWho(const Options& options);

/// Reports what is wrong with the files and the environment, without changing them.
ExitStatus runCheck(const Options& options);

/// Lists the nodes of both lists. Files that do not load are reported on standard error.
ExitStatus runNodes(const Options& options);

/// Draws the deployment.
ExitStatus runMap(const Options& options);

/// Writes the deployment as an HTML page.
ExitStatus runReport(const Options& options);

/// Lists all queries.
ExitStatus runList(const Options& options);

} // namespace sysconfctl
