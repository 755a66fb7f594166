// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "support/Command.h"

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

/// Members of etcd on loopback, on free ports. They end with this object.
class Members {
public:
    static bool areInstalled();

    /// @param folder Receives their data.
    Members(int count, const std::filesystem::path& folder);

    std::vector<std::string> endpoints() const;
    std::size_t size() const { return m_members.size(); }
    void start(std::size_t member);
    /// Starts a member of a new cluster.
    void startEmpty(std::size_t member);
    void kill(std::size_t member);
    void signal(std::size_t member, int number) const { m_members[member]->signal(number); }

private:
    std::filesystem::path m_folder;
    std::vector<int> m_clientPorts;
    std::vector<int> m_peerPorts;
    std::vector<std::unique_ptr<support::RunningCommand>> m_members;
};
