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

/// What can turn the way to a file elsewhere, or close or open it.
constexpr std::uint32_t kWay =
    IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO | IN_ATTRIB | IN_DELETE_SELF | IN_MOVE_SELF;
/// Asked for where the file itself is, and only there: "/tmp" may well be on the way.
constexpr std::uint32_t kContent = IN_MODIFY | IN_CLOSE_WRITE;

Found look(const Place& place) {
    const std::string path = place.folder + "/" + place.name;
    struct stat status {};
    if (::lstat(path.c_str(), &status) != 0) {
        return {};
    }
    if (S_ISDIR(status.st_mode)) {
        return {Found::Kind::Folder, {}};
    }
    if (!S_ISLNK(status.st_mode)) {
        return {Found::Kind::File, {}};
    }
    std::array<char, PATH_MAX> target{};
    const ssize_t length = ::readlink(path.c_str(), target.data(), target.size());
    if (length < 0) {
        return {};
    }
    return {Found::Kind::Link, std::string(target.data(), static_cast<std::size_t>(length))};
}

/// The folder is no longer what the walk found it to be. The watch on the folder above, which was
/// there before the look, has a notice of that.
bool meansGone(int error) {
    constexpr std::array kGone = {ENOENT, ENOTDIR, ELOOP, ENAMETOOLONG};
    return std::find(kGone.begin(), kGone.end(), error) != kGone.end();
}

} // namespace

FileWatch::FileWatch(std::vector<std::string> files) : m_files(std::move(files)) {
    follow();
}

bool FileWatch::changed() {
    Meaning all = Meaning::None;
    m_inotify.read([&](const Inotify::Notice& notice) { all = std::max(all, meaning(notice)); });
    if (all == Meaning::NewWay) {
        followAgain();
    }
    return all != Meaning::None;
}

void FileWatch::followAgain() {
    m_complete = false;
    try {
        follow();
    } catch (const std::exception&) {
        // A watch or memory was refused. Whoever asks for completeness is to try again.
        return;
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

void FileWatch::follow() {
    std::map<int, Names> watches;
    try {
        for (const std::string& file : m_files) {
            walkPath(file, [&](const Place& place) { return watchAndLook(place, watches); });
        }
    } catch (...) {
        m_watches.merge(watches);
        throw;
    }
    std::swap(m_watches, watches);
    for (const auto& [watch, names] : watches) {
        if (!m_watches.contains(watch)) {
            m_inotify.unwatch(watch);
        }
    }
    m_complete = true;
}

/// Watches first and looks then: a change in between has left a notice. A folder that may be passed
/// but not listed cannot be watched; that is put up with far above the files, where it is common,
/// not where a file is or is to come into being.
Found FileWatch::watchAndLook(const Place& place, std::map<int, Names>& watches) {
    const int watch = m_inotify.watch(place.folder, place.last ? kWay | kContent : kWay);
    if (watch >= 0) {
        watches[watch].insert(place.name);
        return look(place);
    }
    if (meansGone(-watch)) {
        return {};
    }
    Found found = watch == -EACCES && !place.last ? look(place) : Found{};
    if (found.kind == Found::Kind::Nothing) {
        throw std::system_error(-watch, std::generic_category(), place.folder);
    }
    return found;
}

} // namespace eventcbutil
