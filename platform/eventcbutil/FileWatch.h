#pragma once

#include "Inotify.h"
#include "PathWalk.h"

#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace eventcbutil {

/// Tells when something happens to a set of files, whatever part of their paths it happens to.
/// Folders are watched and not files, so that a file that is replaced stays in sight. One thread at
/// a time.
class FileWatch {
public:
    /// From the end of the constructor on nothing is missed.
    /// @param files Absolute paths.
    /// @throws std::system_error when the kernel refuses a watch.
    explicit FileWatch(std::vector<std::string> files);

    /// Readable when `changed` has something to tell.
    int descriptor() const { return m_inotify.descriptor(); }
    void close() { m_inotify.close(); }

    /// Whether something has happened to one of the files since the last call. Follows the paths
    /// anew when something has happened on the way to a file.
    bool changed();

    /// False when the kernel has refused a watch: changes may go unnoticed until `followAgain`
    /// succeeds.
    bool complete() const { return m_complete; }

    /// Follows the paths anew, as far as the kernel allows it.
    void followAgain();

    /// How many folders are watched.
    std::size_t folderCount() const { return m_watches.size(); }

private:
    using Names = std::set<std::string, std::less<>>;
    enum class Meaning { None, NewContent, NewWay };

    Meaning meaning(const Inotify::Notice& notice);
    void follow();
    Found watchAndLook(const Place& place, std::map<int, Names>& watches);

    std::vector<std::string> m_files;
    Inotify m_inotify;
    /// By watch: the names in that folder that are on the way to a file.
    std::map<int, Names> m_watches;
    bool m_complete = false;
};

} // namespace eventcbutil
