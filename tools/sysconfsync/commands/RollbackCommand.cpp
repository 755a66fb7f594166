// SPDX-License-Identifier: Apache-2.0
#include "commands/SyncCommands.h"

#include "cli/SyncDiagnostics.h"
#include "commands/Publishing.h"
#include "commands/StoppableClient.h"

#include <fmt/format.h>

namespace sysconfsync {

SyncStatus runRollback(const SyncOptions& options) {
    namespace diagnostic = sysconfctl::diagnostic;
    StoppableClient client(options.connection);
    Store store(client, options.prefix);
    const Current current = store.current();
    if (options.basedOn && *options.basedOn != current.version()) {
        sysconfctl::reportError(
            diagnostic::kRefused,
            fmt::format("nothing has been published: version {} is current", current.version()));
        return SyncStatus::Refused;
    }
    const Nodes nodes = store.nodes(*options.version);
    if (nodes.empty()) {
        sysconfctl::reportError(diagnostic::kRefused,
                                "nothing has been published: " + noVersionText(*options.version));
        return SyncStatus::Refused;
    }
    const std::string message = options.message.empty()
                                    ? fmt::format("rollback to version {}", *options.version)
                                    : options.message;
    return keepsNodes(store, nodes, current, options) &&
                   publishNodes(store, nodes, nextInfo(current, message), current, options)
               ? SyncStatus::Done
               : SyncStatus::Refused;
}

} // namespace sysconfsync
