#pragma once

#include "cli/CommandLine.h"
#include "cli/ExitStatus.h"

namespace sysconfctl {

/// All answers. What the library threw is told on standard error too.
ExitStatus runShow(const Options& options);

/// One answer.
ExitStatus runGet(const Options& options);

/// All answers, then each change of one, until SIGINT, SIGTERM or SIGHUP. Standard error tells at
/// the beginning whether there is a subscription to changes. Without one the answers that the
/// library has loaded stay, and those that it reads at every call change.
ExitStatus runWatch(const Options& options);

/// The way to one answer, or to all.
ExitStatus runExplain(const Options& options);

/// What is wrong with the files and the environment. Reads only.
ExitStatus runCheck(const Options& options);

/// The nodes of both lists. What does not load is told on standard error too.
ExitStatus runNodes(const Options& options);

/// The deployment as a picture.
ExitStatus runMap(const Options& options);

/// All queries.
ExitStatus runList(const Options& options);

} // namespace sysconfctl
