// SPDX-License-Identifier: Apache-2.0
#include "cli/FileBytes.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <memory>
#include <system_error>

namespace sysconfctl {

std::string readBytes(const std::string& path) {
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "rbe"),
                                                               &std::fclose);
    const auto fail = [] { throw std::system_error(errno, std::system_category()); };
    if (!file) {
        fail();
    }
    std::string text;
    std::array<char, 4096> buffer{};
    while (const std::size_t size = std::fread(buffer.data(), 1, buffer.size(), file.get())) {
        text.append(buffer.data(), size);
    }
    if (std::ferror(file.get()) != 0) {
        fail();
    }
    return text;
}

} // namespace sysconfctl
