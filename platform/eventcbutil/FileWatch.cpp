// SPDX-License-Identifier: Apache-2.0
#include "FileWatch.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace eventcbutil {
namespace {

/// Events that can change what a path refers to.
constexpr std::uint32_t kWay =
    IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO | IN_ATTRIB | IN_DELETE_SELF | IN_MOVE_SELF;
/// Only for the folder of the file itself: folders on the way, such as "/tmp", may be busy.
constexpr std::uint32_t kContent = IN_MODIFY | IN_CLOSE_WRITE;

/// Whether the path does not exist now. The watch on the folder above reports when that changes.
bool leadsNowhere(int error, const std::string& path) {
    // A name that is too long cannot exist. A path that is too long can: it is reached by links.
    return error == ENOENT || error == ENOTDIR || error == ELOOP ||
           (error == ENAMETOOLONG && path.size() < PATH_MAX);
}

/// Nothing if the kernel does not answer.
std::optional<Found> look(const Place& place) {
    const std::string path = place.folder + "/" + place.name;
    const auto failed = [&]() -> std::optional<Found> {
        // EACCES: the process may not pass the folder. EINVAL: no longer a link.
        const bool nowhere = leadsNowhere(errno, path) || errno == EACCES || errno == EINVAL;
        return nowhere ? std::optional(Found{}) : std::nullopt;
    };
    struct stat status {};
    if (::lstat(path.c_str(), &status) != 0) {
        return failed();
    }
    if (S_ISDIR(status.st_mode)) {
        return Found{Found::Kind::Folder, {}};
    }
    if (!S_ISLNK(status.st_mode)) {
        return Found{Found::Kind::File, {}};
    }
    std::array<char, PATH_MAX> target{};
    const ssize_t length = ::readlink(path.c_str(), target.data(), target.size());
    if (length < 0) {
        return failed();
    }
    return Found{Found::Kind::Link, std::string(target.data(), static_cast<std::size_t>(length))};
}

} // namespace

FileWatch::FileWatch(std::vector<std::string> files) : m_files(std::move(files)) {
    renewDescriptors();
    if (const int refusal = follow()) {
        throw std::system_error(refusal, std::generic_category(), "inotify_add_watch");
    }
}

std::array<pollfd, 2> FileWatch::waits() const {
    constexpr pollfd kNone{-1, 0, 0};
    return {m_inotify ? pollfd{m_inotify->descriptor(), POLLIN, 0} : kNone,
            m_mounts ? m_mounts->wait() : kNone};
}

void FileWatch::woken(const pollfd* results) {
    if (m_mounts) {
        m_mounts->woken(results[1]);
    }
}

FileWatch::Change FileWatch::changed() {
    if (!m_inotify) {
        return Change::None; // `followAgain` is due
    }
    Meaning all = Meaning::None;
    const bool readable = readNotices(all);
    if (!readable || (m_mounts && !m_mounts->intact())) {
        // So that poll(2) does not report them again before they are replaced.
        closeDescriptors();
        m_complete = false;
        return all == Meaning::None ? Change::Possible : Change::Noticed;
    }
    const bool mounted = m_mounts && m_mounts->changed();
    if (all == Meaning::NewWay || mounted) {
        followAgain();
    }
    if (all != Meaning::None) {
        return Change::Noticed;
    }
    return mounted ? Change::Possible : Change::None;
}

bool FileWatch::readNotices(Meaning& all) {
    return m_inotify->read(
        [&](const Inotify::Notice& notice) { all = std::max(all, meaning(notice)); });
}

void FileWatch::closeDescriptors() {
    m_inotify.reset();
    m_mounts.reset();
}

void FileWatch::followAgain() {
    m_complete = false;
    try {
        renewDescriptors();
        follow();
    } catch (const std::exception&) {
        // Out of memory or descriptors. The watch remains incomplete.
        return;
    }
}

void FileWatch::renewDescriptors() {
    if (!m_inotify || !m_inotify->intact()) {
        m_inotify.reset();
        m_watches.clear();
        m_inotify.emplace();
    }
    if (!m_mounts || !m_mounts->intact()) {
        m_mounts.reset();
        try {
            m_mounts.emplace();
        } catch (const std::system_error&) {
            // Without it the watch is incomplete, but useful.
            return;
        }
    }
}

FileWatch::Meaning FileWatch::meaning(const Inotify::Notice& notice) {
    if ((notice.mask & IN_Q_OVERFLOW) != 0) {
        return Meaning::NewWay;
    }
    const auto watched = m_watches.find(notice.watch);
    if (watched == m_watches.end()) {
        return Meaning::None;
    }
    if ((notice.mask & IN_IGNORED) != 0) {
        m_watches.erase(watched);
        return Meaning::NewWay;
    }
    if (notice.name.empty()) {
        return Meaning::NewWay;
    }
    if (watched->second.find(notice.name) == watched->second.end()) {
        return Meaning::None;
    }
    return (notice.mask & kWay) != 0 ? Meaning::NewWay : Meaning::NewContent;
}

void FileWatch::add(const Watches& watches) {
    for (const auto& [watch, names] : watches) {
        m_watches[watch].insert(names.begin(), names.end());
    }
}

/// @return The error number of a refused watch, else 0.
int FileWatch::follow() {
    Walk walk;
    try {
        for (const std::string& file : m_files) {
            walkPath(file, [&](const Place& place) { return watchAndLook(place, walk); });
        }
    } catch (...) {
        add(walk.watches);
        throw;
    }
    if (walk.complete) {
        for (const auto& [watch, names] : m_watches) {
            if (!walk.watches.contains(watch)) {
                m_inotify->unwatch(watch);
            }
        }
        m_watches = std::move(walk.watches);
    } else {
        // The walk may not have reached every place, so old watches may still be needed.
        add(walk.watches);
    }
    m_complete = walk.complete && m_mounts;
    return walk.refusal;
}

/// Watches before it looks: a change in between is reported. A folder that may be passed but not
/// listed is accepted far above the files, but not where a file is or may be created.
Found FileWatch::watchAndLook(const Place& place, Walk& walk) {
    const int watch = m_inotify->watch(place.folder, place.last ? kWay | kContent : kWay);
    if (watch >= 0) {
        walk.watches[watch].insert(place.name);
    } else if (leadsNowhere(-watch, place.folder)) {
        return {};
    }
    const bool look = watch >= 0 || (watch == -EACCES && !place.last);
    const std::optional<Found> found = look ? eventcbutil::look(place) : std::nullopt;
    walk.complete = walk.complete && found;
    if (watch < 0 && (!found || found->kind == Found::Kind::Nothing)) {
        walk.complete = false;
        walk.refusal = walk.refusal != 0 ? walk.refusal : -watch;
    }
    return found.value_or(Found{});
}

} // namespace eventcbutil
