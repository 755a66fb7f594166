// SPDX-License-Identifier: Apache-2.0
#include "follow/Folder.h"

#include "cli/FileBytes.h"
#include "etcd/Encoding.h"
#include "etcd/EtcdError.h"
#include "render/Json.h"

#include <fmt/chrono.h>
#include <fmt/format.h>

#include <cerrno>
#include <charconv>
#include <cstdio>
#include <fcntl.h>
#include <string_view>
#include <sys/file.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace sysconfsync {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view kUnfinished = ".tmp";

int checked(int result, const char* call, const fs::path& path) {
    if (result < 0) {
        throw std::system_error(errno, std::generic_category(),
                                fmt::format("{} {}", call, path.string()));
    }
    return result;
}

class OpenFile {
public:
    OpenFile(const fs::path& path, int flags)
        : m_path(path),
          m_descriptor(checked(::open(path.c_str(), flags | O_CLOEXEC, 0666), "open", path)) {}
    ~OpenFile() { ::close(m_descriptor); }
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;

    void write(std::string_view bytes) const {
        while (!bytes.empty()) {
            const ssize_t size = ::write(m_descriptor, bytes.data(), bytes.size());
            if (size < 0 && errno == EINTR) {
                continue;
            }
            checked(size < 0 ? -1 : 0, "write", m_path);
            bytes.remove_prefix(static_cast<std::size_t>(size));
        }
    }

    /// Waits until the file, or the names in a folder, are on disk.
    void sync() const { checked(::fsync(m_descriptor), "fsync", m_path); }

private:
    const fs::path& m_path;
    int m_descriptor;
};

void writeFile(const fs::path& path, std::string_view bytes) {
    const OpenFile file(path, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW);
    file.write(bytes);
    file.sync();
}

void syncFolder(const fs::path& path) {
    OpenFile(path, O_RDONLY | O_DIRECTORY).sync();
}

std::string readFile(const fs::path& path) {
    try {
        return sysconfctl::readBytes(path);
    } catch (const std::system_error& error) {
        throw std::system_error(error.code(), "read " + path.string());
    }
}

/// What this process writes into the folder of another user, that user could neither read nor
/// remove.
void requireOwner(const fs::path& path) {
    struct stat status {};
    checked(::stat(path.c_str(), &status), "stat", path);
    if (status.st_uid != ::geteuid()) {
        throw std::runtime_error(
            fmt::format("{}: the folder belongs to the user {}, and this process runs as {}",
                        path.string(), status.st_uid, ::geteuid()));
    }
}

/// The number in the name of a version's folder; 0 if it is none.
std::int64_t numberIn(const std::string& name) {
    std::int64_t number = 0;
    const auto [end, error] = std::from_chars(name.data(), name.data() + name.size(), number);
    return error == std::errc() && end == name.data() + name.size() ? number : 0;
}

} // namespace

Folder::Folder(const fs::path& root, std::string node, std::string prefix)
    : m_root(fs::absolute(root).lexically_normal()), m_versions(m_root / "versions"),
      m_node(std::move(node)), m_prefix(std::move(prefix)) {
    fs::create_directories(m_root);
    requireOwner(m_root);
    const Json::Value info = appliedInfo();
    if (info.isMember("node") && (info["node"] != m_node || info["prefix"] != m_prefix)) {
        throw std::runtime_error(fmt::format(
            "{}: the folder has the files of node {} with the prefix {}", m_root.string(),
            sysconfctl::compactJson(info["node"]), sysconfctl::compactJson(info["prefix"])));
    }
    fs::create_directory(m_versions);
    m_lock = checked(::open(m_root.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC), "open", m_root);
    if (::flock(m_lock, LOCK_EX | LOCK_NB) != 0) {
        const int error = errno;
        ::close(m_lock);
        if (error == EWOULDBLOCK) {
            throw std::runtime_error(
                fmt::format("{}: another process follows in this folder", m_root.string()));
        }
        throw std::system_error(error, std::generic_category(), "flock " + m_root.string());
    }
}

Folder::~Folder() {
    ::close(m_lock);
}

VersionId Folder::applied() const {
    std::error_code none;
    const fs::path target = fs::read_symlink(m_root / "current", none);
    const std::int64_t number = numberIn(target.filename().string());
    if (target.parent_path() != "versions" || number == 0 ||
        !fs::is_directory(m_root / target, none)) {
        return {};
    }
    const Json::Value id = appliedInfo()["id"];
    return {number, id.isString() ? id.asString() : ""};
}

Json::Value Folder::appliedInfo() const {
    const fs::path file = m_root / "current" / kVersionFile;
    try {
        return fs::exists(file) ? parsedObject(readFile(file)) : Json::objectValue;
    } catch (const EtcdError&) {
        return Json::objectValue;
    }
}

std::string Folder::since() const {
    struct stat status {};
    if (::lstat((m_root / "current").c_str(), &status) != 0) {
        return {};
    }
    return fmt::format("{:%Y-%m-%dT%H:%M:%SZ}", fmt::gmtime(status.st_mtime));
}

Files Folder::appliedFiles() const {
    Files files;
    if (applied().number == 0) {
        return files;
    }
    const fs::path folder = fs::canonical(m_root / "current");
    for (const auto& entry : fs::recursive_directory_iterator(folder)) {
        if (entry.is_regular_file()) {
            files[entry.path().lexically_relative(folder)] = readFile(entry.path());
        }
    }
    files.erase(kVersionFile);
    return files;
}

fs::path Folder::write(const Info& version, const Files& files) {
    removeUnfinished();
    fs::path folder = m_versions / fmt::format("{}{}", version.version, kUnfinished);
    fs::create_directory(folder);
    for (const auto& [path, bytes] : files) {
        fs::create_directories((folder / path).parent_path());
        writeFile(folder / path, bytes);
    }
    Json::Value info = toJson(version);
    info["node"] = m_node;
    info["prefix"] = m_prefix;
    writeFile(folder / kVersionFile, sysconfctl::compactJson(info));
    for (const auto& entry : fs::recursive_directory_iterator(folder)) {
        if (entry.is_directory()) {
            syncFolder(entry.path());
        }
    }
    syncFolder(folder);
    return folder;
}

void Folder::apply(std::int64_t version) {
    const std::string name = std::to_string(version);
    const fs::path written = m_versions / (name + std::string(kUnfinished));
    const std::string before = std::to_string(applied().number);
    if (before == name) {
        // The same number with other files.
        checked(::renameat2(AT_FDCWD, written.c_str(), AT_FDCWD, (m_versions / name).c_str(),
                            RENAME_EXCHANGE),
                "rename", written);
    } else {
        // A version of that name was not applied before the process ended.
        fs::remove_all(m_versions / name);
        fs::rename(written, m_versions / name);
    }
    syncFolder(m_versions);
    const fs::path link = m_root / "current.tmp";
    fs::remove(link);
    fs::create_symlink(fs::path("versions") / name, link);
    fs::rename(link, m_root / "current");
    syncFolder(m_root);
    for (const auto& entry : fs::directory_iterator(m_versions)) {
        const std::string other = entry.path().filename().string();
        if (other != name && other != before) {
            fs::remove_all(entry.path());
        }
    }
}

void Folder::removeUnfinished() {
    for (const auto& entry : fs::directory_iterator(m_versions)) {
        if (entry.path().extension() == kUnfinished) {
            fs::remove_all(entry.path());
        }
    }
}

} // namespace sysconfsync
