// SPDX-License-Identifier: Apache-2.0
#include "FileContents.h"

#include "Descriptor.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace eventcbutil {
namespace {

/// Returns false if the file cannot be read, or is now larger than `size`.
bool readAll(const Descriptor& descriptor, std::size_t size, std::string& text) {
    text.resize(size + 1);
    std::size_t length = 0;
    while (length < text.size()) {
        if (!descriptor.intact()) {
            return false;
        }
        const ssize_t bytes = ::read(descriptor.get(), text.data() + length, text.size() - length);
        if (bytes == 0) {
            break;
        }
        if (bytes < 0 && errno != EINTR) {
            return false;
        }
        length += static_cast<std::size_t>(std::max<ssize_t>(bytes, 0));
    }
    text.resize(length);
    return length <= size;
}

} // namespace

FileContents::FileContents(const std::vector<std::string>& files) {
    for (const std::string& file : files) {
        Content content;
        m_comparable = m_comparable && read(file, content);
        m_contents.push_back(std::move(content));
    }
}

bool FileContents::equals(const FileContents& other) const {
    return m_comparable && other.m_comparable && m_contents == other.m_contents;
}

/// Returns false if the content cannot be compared.
bool FileContents::read(const std::string& file, Content& content) {
    // O_NONBLOCK: opening a FIFO must not wait for a writer.
    const int opened = ::open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (opened < 0) {
        return errno == ENOENT || errno == ENOTDIR;
    }
    const Descriptor descriptor(opened, "open");
    struct stat status {};
    return ::fstat(descriptor.get(), &status) == 0 && S_ISREG(status.st_mode) &&
           std::cmp_less_equal(status.st_size, kMostBytes) &&
           readAll(descriptor, static_cast<std::size_t>(status.st_size), content.emplace());
}

} // namespace eventcbutil
