// SPDX-License-Identifier: Apache-2.0
#include "commands/SyncCommands.h"

#include "commands/StoppableClient.h"
#include "follow/Decision.h"
#include "follow/Folder.h"
#include "follow/Follower.h"

#include <sys/stat.h>
#include <systemd/sd-daemon.h>

namespace sysconfsync {
namespace {

/// Notifies the watchdog of the service manager, if there is one, also during calls: all attempts
/// of a call together may take longer than the limit of the watchdog.
void notifyWatchdog(Connection& connection) {
    std::uint64_t microseconds = 0;
    if (::sd_watchdog_enabled(0, &microseconds) > 0) {
        connection.onWait = [] { ::sd_notify(0, "WATCHDOG=1"); };
        connection.longestWait = std::chrono::duration_cast<std::chrono::milliseconds>(
            std::chrono::microseconds(microseconds / 3));
    }
}

} // namespace

SyncStatus runFollow(const SyncOptions& options) {
    // The files contain passwords: no access for others than the owner and the group.
    ::umask(::umask(0) | S_IRWXO);
    Folder folder(options.directory.empty() ? "." : options.directory, options.node,
                  options.prefix);
    Connection connection = options.connection;
    connection.endpoints = endpointsOf(options.node, connection.endpoints);
    notifyWatchdog(connection);
    StoppableClient client(connection);
    Follower follower(client, options.prefix, folder, options.node, options.acceptOlder);
    if (options.once) {
        return follower.once() ? SyncStatus::Done : SyncStatus::Refused;
    }
    follower.run();
    return SyncStatus::Done;
}

} // namespace sysconfsync
