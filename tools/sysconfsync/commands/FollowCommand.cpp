// SPDX-License-Identifier: Apache-2.0
#include "commands/SyncCommands.h"

#include "etcd/Client.h"
#include "follow/Decision.h"
#include "follow/Folder.h"
#include "follow/Follower.h"

#include <sys/stat.h>

namespace sysconfsync {

SyncStatus runFollow(const SyncOptions& options) {
    // The files contain passwords: no access for others than the owner and the group.
    ::umask(::umask(0) | S_IRWXO);
    Folder folder(options.directory.empty() ? "." : options.directory, options.node,
                  options.prefix);
    Connection connection = options.connection;
    connection.endpoints = endpointsOf(options.node, connection.endpoints);
    Client client(connection);
    Follower follower(client, options.prefix, folder, options.node, options.acceptOlder);
    if (options.once) {
        return follower.once() ? SyncStatus::Done : SyncStatus::Refused;
    }
    follower.run();
    return SyncStatus::Done;
}

} // namespace sysconfsync
