// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Inotify.h"
#include "MountTable.h"
#include "PathWalk.h"

#include <array>
#include <functional>
#include <map>
#include <optional>
#include <poll.h>
#include <set>
#include <string>
#include <vector>

namespace eventcbutil {

/// Detects changes of files and of any part of their paths. Used by one thread at a time.
///
/// The watch may be incomplete: the kernel refused something, or the program closed the
/// descriptors. Then the owner must read the files itself and call `followAgain` from time to time.
class FileWatch {
public:
    enum class Change {
        None,
        Possible, ///< Something was mounted, or reports of the kernel were lost.
        Noticed,
    };

    /// @param files Absolute paths. Their changes are detected from the return on.
    /// @throws std::system_error if the kernel refuses an instance or a watch.
    explicit FileWatch(std::vector<std::string> files);

    std::array<pollfd, 2> waits() const;
    void woken(const pollfd* results);

    /// Follows the paths again if one may lead elsewhere.
    Change changed();

    bool complete() const { return m_complete; }

    /// Follows the paths again as far as possible, with new descriptors for lost ones.
    void followAgain();

    std::size_t folderCount() const { return m_watches.size(); }

private:
    using Names = std::set<std::string, std::less<>>;
    using Watches = std::map<int, Names>;
    enum class Meaning { None, NewContent, NewWay };

    struct Walk {
        Watches watches;
        bool complete = true;
        int refusal = 0;
    };

    void closeDescriptors();
    void renewDescriptors();
    bool readNotices(Meaning& all);
    Meaning meaning(const Inotify::Notice& notice);
    int follow();
    void add(const Watches& watches);
    Found watchAndLook(const Place& place, Walk& walk);

    std::vector<std::string> m_files;
    std::optional<Inotify> m_inotify;
    std::optional<MountTable> m_mounts;
    /// For each watch, the names in that folder that are on the way to a file.
    Watches m_watches;
    bool m_complete = false;
};

} // namespace eventcbutil
