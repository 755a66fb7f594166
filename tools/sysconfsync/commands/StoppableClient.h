// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "etcd/Client.h"
#include "watch/EndSignals.h"

#include <utility>

namespace sysconfsync {

/// From its creation on, SIGINT, SIGTERM and SIGHUP end its requests with Cancelled. Before, they
/// end the process at once, even while it waits for a file system that hangs.
class StoppableClient : private sysconfctl::EndSignals, public Client {
public:
    explicit StoppableClient(Connection connection)
        : Client(stoppedBy(descriptor(), std::move(connection))) {}

private:
    static Connection stoppedBy(int descriptor, Connection connection) {
        connection.stopDescriptor = descriptor;
        return connection;
    }
};

} // namespace sysconfsync
