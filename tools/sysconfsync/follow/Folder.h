// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "follow/Decision.h"
#include "store/Records.h"

#include <filesystem>
#include <string>

namespace sysconfsync {

/// The folder of a node, as docs/cluster.md describes it. What has a name without ".tmp" is
/// complete and on disk. All operations throw std::system_error.
class Folder {
public:
    /// The name of the file that identifies a version. No published file can have it.
    static constexpr const char* kVersionFile = ".version";

    /// Creates the folder if it is missing, and locks it until the end of this object.
    /// @throws std::runtime_error if another process has locked it, it belongs to another user, or
    /// it has a version of another node or prefix.
    Folder(const std::filesystem::path& root, std::string node, std::string prefix);
    ~Folder();
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;

    /// The version that the link leads to; number 0 if there is none.
    VersionId applied() const;
    /// When the link was last changed, for people to read; "" if there is no link.
    std::string since() const;
    /// The files of the applied version; empty if there is none.
    Files appliedFiles() const;

    /// Writes a version and waits until it is on disk. Returns the folder with its files.
    std::filesystem::path write(const Info& version, const Files& files);
    /// Makes the written version the applied one, and removes all but this and the one before.
    void apply(std::int64_t version);
    /// Removes versions that were not completely written or not applied.
    void removeUnfinished();

private:
    /// The content of `.version`, an object; empty if it is missing or damaged.
    Json::Value appliedInfo() const;

    std::filesystem::path m_root;
    std::filesystem::path m_versions;
    const std::string m_node;
    const std::string m_prefix;
    int m_lock = -1;
};

} // namespace sysconfsync
