// SPDX-License-Identifier: Apache-2.0
#include "commands/SyncCommands.h"

#include "cli/SyncDiagnostics.h"
#include "cli/UsageError.h"
#include "commands/Publishing.h"
#include "commands/StoppableClient.h"
#include "render/Output.h"
#include "render/Text.h"
#include "tree/DeploymentTree.h"

#include <fmt/format.h>

#include <filesystem>
#include <sys/stat.h>

namespace sysconfsync {

SyncStatus runFetch(const SyncOptions& options) {
    namespace fs = std::filesystem;
    if (fs::exists(options.directory) && !fs::is_empty(options.directory)) {
        throw sysconfctl::UsageError(sysconfctl::shellWord(options.directory) +
                                     " is not empty: its files could be mixed up with the fetched "
                                     "ones");
    }
    StoppableClient client(options.connection);
    Store store(client, options.prefix);
    const std::int64_t version = options.version ? *options.version : store.current().version();
    const Nodes nodes = store.nodes(version);
    if (nodes.empty()) {
        sysconfctl::reportError(sysconfctl::diagnostic::kRefused,
                                version == 0 ? "nothing has been published yet"
                                             : noVersionText(version));
        return SyncStatus::Refused;
    }
    const Info info = store.info(version).value_or(Info());
    ::umask(S_IRWXG | S_IRWXO); // app config files have passwords
    writeTree(nodes, options.directory);
    writeState(options.directory, {store.clusterId(), options.prefix, version, info.id});
    sysconfctl::writeOutput(
        fmt::format("version {} is in {}\n", version, sysconfctl::shellWord(options.directory)));
    return SyncStatus::Done;
}

} // namespace sysconfsync
