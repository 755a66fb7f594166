// SPDX-License-Identifier: Apache-2.0
#include "comparison/Files.h"

#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <system_error>
#include <unistd.h>

namespace files {

namespace {

void require(bool done, const char* what) {
    if (!done) {
        std::perror(what);
        std::abort();
    }
}

/// A file that remains open, so that rewriting it takes two system calls.
class File {
public:
    explicit File(const std::filesystem::path& path) {
        std::filesystem::create_directories(path.parent_path());
        m_descriptor = ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
        require(m_descriptor >= 0, path.c_str());
    }

    void write(const std::string& text) {
        if (text == m_text) {
            return;
        }
        const bool written =
            ::ftruncate(m_descriptor, 0) == 0 &&
            ::pwrite(m_descriptor, text.data(), text.size(), 0) == ssize_t(text.size());
        require(written, "write");
        m_text = text;
    }

private:
    int m_descriptor;
    std::string m_text;
};

std::string madeFolder() {
    std::string path = (std::filesystem::temp_directory_path() / "sysconf-fuzz-XXXXXX").string();
    require(::mkdtemp(path.data()) != nullptr, path.c_str());
    return path;
}

struct Folder {
    /// Never destroyed, because the exit handler uses it.
    static Folder& folder() {
        static Folder* const made = [] {
            std::atexit([] {
                std::error_code ignored;
                std::filesystem::remove_all(folder().root, ignored);
            });
            return new Folder;
        }();
        return *made;
    }

    std::string root = madeFolder();
    File appConfig{root + "/app.json"};
    File nodeList{root + "/app/etc/sysconf/nodelist.json"};
    File managerNodeList{root + "/tolm/etc/sysconf/nodelists.json"};
};

} // namespace

void write(const Texts& texts) {
    Folder& folder = Folder::folder();
    folder.appConfig.write(texts.appConfig);
    folder.nodeList.write(texts.nodeList);
    folder.managerNodeList.write(texts.managerNodeList);
}

void setEnvironment() {
    const std::string& root = Folder::folder().root;
    ::setenv("APP_CONF_FILE", (root + "/app.json").c_str(), 1);
    ::setenv("APP_ROOT", (root + "/app").c_str(), 1);
    ::setenv("TOLM_ROOT", (root + "/tolm").c_str(), 1);
    ::setenv("PROCESS_INSTANCE_ID", kInstanceId, 1);
    ::setenv("NO_EM_CLIENT", "1", 1);
}

} // namespace files
