// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "cli/CommandLine.h"
#include "cli/ExitStatus.h"

namespace sysconfctl {

/// Shows all answers. Exceptions of the library are also reported on standard error.
ExitStatus runShow(const Options& options);

ExitStatus runGet(const Options& options);

/// First reports on standard error whether change events are subscribed. Without a subscription,
/// only answers that the library reads from the files on every call can change.
ExitStatus runWatch(const Options& options);

ExitStatus runExec(const Options& options);

ExitStatus runExplain(const Options& options);

ExitStatus runDiff(const Options& options);

/// @throws UsageError if there is none.
ExitStatus runWho(const Options& options);

ExitStatus runCheck(const Options& options);

/// Lists the nodes of both lists. Files that do not load are reported on standard error.
ExitStatus runNodes(const Options& options);

ExitStatus runMap(const Options& options);

ExitStatus runReport(const Options& options);

ExitStatus runList(const Options& options);

} // namespace sysconfctl
