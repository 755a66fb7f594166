// SPDX-License-Identifier: Apache-2.0
#include "sysconfsync/Sync.h"

#include "support/Deployment.h"
#include "support/TestDirectory.h"

#include <fstream>
#include <iterator>
#include <stdexcept>

namespace support {

Command syncCommand(const Etcd& etcd, std::vector<std::string> arguments) {
    return Command(SYSCONFSYNC, std::move(arguments))
        .variable("SYSCONFSYNC_ENDPOINTS", etcd.endpoints());
}

CommandResult runSync(const Etcd& etcd, std::vector<std::string> arguments) {
    return syncCommand(etcd, std::move(arguments)).run();
}

std::filesystem::path copySample(const std::string& sample, const std::string& name) {
    const std::filesystem::path copy = testDirectory() / name;
    std::filesystem::copy(std::filesystem::path(SYSCONF_SOURCE_DIRECTORY) / "samples" / sample,
                          copy, std::filesystem::copy_options::recursive);
    return copy;
}

std::string readText(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

void replaceText(const std::filesystem::path& path, const std::string& from,
                 const std::string& to) {
    std::string text = readText(path);
    const std::size_t at = text.find(from);
    if (at == std::string::npos) {
        throw std::runtime_error(path.string() + " does not contain " + from);
    }
    writeFile(path, text.replace(at, from.size(), to));
}

} // namespace support
