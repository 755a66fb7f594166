// SPDX-License-Identifier: Apache-2.0
#include "deployment/ProcessAge.h"

#include "deployment/CallerDirectory.h"
#include "deployment/Loaded.h"
#include "deployment/Sources.h"
#include "explain/StepPlace.h"
#include "render/Text.h"

#include <config/ConfigFiles.h>

#include <fmt/format.h>

#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <optional>
#include <sstream>
#include <sys/socket.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace sysconfctl {
namespace {

namespace config = Quarncommon::config;
namespace fs = std::filesystem;

constexpr std::uint64_t kNanoseconds = 1'000'000'000;

std::uint64_t nanoseconds(const timespec& time) {
    return static_cast<std::uint64_t>(time.tv_sec) * kNanoseconds +
           static_cast<std::uint64_t>(time.tv_nsec);
}

std::uint64_t now(clockid_t clock) {
    timespec time{};
    ::clock_gettime(clock, &time);
    return nanoseconds(time);
}

/// The start in nanoseconds since boot, rounded down to a clock tick.
std::optional<std::uint64_t> startSinceBoot(const std::string& pid) {
    std::ifstream file("/proc/" + pid + "/stat");
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    const std::size_t name = text.rfind(')'); // the program's name may contain any character
    if (name == std::string::npos) {
        return std::nullopt;
    }
    // The start time is field 22 of proc(5); the first field after the name is field 3.
    constexpr int kFieldsBefore = 19;
    std::istringstream fields(text.substr(name + 1));
    std::string skipped;
    for (int i = 0; i < kFieldsBefore; ++i) {
        fields >> skipped;
    }
    std::uint64_t ticks = 0;
    if (!(fields >> ticks)) {
        return std::nullopt;
    }
    return ticks * (kNanoseconds / static_cast<std::uint64_t>(::sysconf(_SC_CLK_TCK)));
}

/// The latest time of a file and, if the path is a symbolic link, of the link.
std::uint64_t lastChange(const std::string& path) {
    std::uint64_t last = 0;
    for (const auto status : {&::stat, &::lstat}) {
        struct stat found {};
        if (status(path.c_str(), &found) == 0) {
            last = std::max({last, nanoseconds(found.st_mtim), nanoseconds(found.st_ctim)});
        }
    }
    return last;
}

struct Socket {
    Socket() : descriptor(::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_ROUTE)) {}
    ~Socket() {
        if (descriptor >= 0) {
            ::close(descriptor);
        }
    }
    Socket(const Socket&) = delete;
    Socket& operator=(const Socket&) = delete;
    int descriptor;
};

bool requestAddresses(const Socket& socket) {
    struct {
        nlmsghdr header;
        ifaddrmsg message;
    } request{};
    request.header.nlmsg_len = sizeof request;
    request.header.nlmsg_type = RTM_GETADDR;
    request.header.nlmsg_flags = NLM_F_REQUEST | NLM_F_DUMP;
    return socket.descriptor >= 0 &&
           ::send(socket.descriptor, &request, sizeof request, 0) == sizeof request;
}

std::optional<std::string> addedAfter(std::uint64_t centiseconds, const nlmsghdr* header) {
    const auto* const message = static_cast<const ifaddrmsg*>(NLMSG_DATA(header));
    int length = static_cast<int>(IFA_PAYLOAD(header));
    const void* address = nullptr;
    std::uint64_t added = 0;
    for (const rtattr* attribute = IFA_RTA(message); RTA_OK(attribute, length);
         attribute = RTA_NEXT(attribute, length)) {
        // On a point-to-point interface, IFA_ADDRESS is the peer's address.
        if (attribute->rta_type == IFA_LOCAL ||
            (attribute->rta_type == IFA_ADDRESS && address == nullptr)) {
            address = RTA_DATA(attribute);
        } else if (attribute->rta_type == IFA_CACHEINFO) {
            added = static_cast<const ifa_cacheinfo*>(RTA_DATA(attribute))->cstamp;
        }
    }
    std::array<char, INET6_ADDRSTRLEN> text{};
    if (added <= centiseconds || address == nullptr ||
        ::inet_ntop(message->ifa_family, address, text.data(), text.size()) == nullptr) {
        return std::nullopt;
    }
    return text.data();
}

std::vector<std::string> newServiceAddresses(std::uint64_t start) {
    std::vector<std::string> sentences;
    constexpr std::uint64_t kCentisecond = kNanoseconds / 100;
    const std::vector<std::string> added = addressesAddedAfter(start / kCentisecond);
    if (added.empty()) {
        return sentences;
    }
    for (const auto& [node, address] : serviceAddressesOf(readNodeList())) {
        if (std::find(added.begin(), added.end(), address) != added.end()) {
            sentences.push_back(fmt::format("{}, the service address of {}, was added to this host",
                                            escaped(address), shellWord(node)));
        }
    }
    return sentences;
}

bool isInOtherNetwork(const std::string& pid) {
    std::error_code error;
    std::error_code ownError;
    const fs::path its = fs::read_symlink("/proc/" + pid + "/ns/net", error);
    const fs::path own = fs::read_symlink("/proc/self/ns/net", ownError);
    return !error && !ownError && its != own;
}

} // namespace

std::vector<std::string> addressesAddedAfter(std::uint64_t centiseconds) {
    std::vector<std::string> added;
    const Socket socket;
    if (!requestAddresses(socket)) {
        return added;
    }
    alignas(nlmsghdr) std::array<char, 32768> buffer{};
    for (;;) {
        const ssize_t size = ::recv(socket.descriptor, buffer.data(), buffer.size(), 0);
        if (size <= 0) {
            return added;
        }
        auto length = static_cast<unsigned int>(size);
        for (const auto* header = reinterpret_cast<const nlmsghdr*>(buffer.data());
             NLMSG_OK(header, length); header = NLMSG_NEXT(header, length)) {
            if (header->nlmsg_type == NLMSG_DONE || header->nlmsg_type == NLMSG_ERROR) {
                return added;
            }
            if (const auto address = addedAfter(centiseconds, header)) {
                added.push_back(*address);
            }
        }
    }
}

std::vector<std::string> newerThanProcess(const std::string& pid, bool withAddresses) {
    const auto started = startSinceBoot(pid);
    if (!started) {
        return {};
    }
    // The kernel rounds the start time down to a tick, so a tick is added.
    const std::uint64_t start =
        *started + kNanoseconds / static_cast<std::uint64_t>(::sysconf(_SC_CLK_TCK));
    // Read in this order, a delay between the calls makes the computed start later, not earlier.
    const std::uint64_t uptime = now(CLOCK_BOOTTIME);
    const std::uint64_t boot = now(CLOCK_REALTIME) - uptime;
    std::vector<std::string> sentences;
    for (const auto& file : {config::kAppConfig, config::kNodeList, config::kManagerNodeList}) {
        const auto path = config::pathIfSet(file);
        if (path && lastChange(*path) > boot + start) {
            sentences.push_back(escaped(shortPath(pathForCaller(*path))) + " changed");
        }
    }
    if (withAddresses) {
        const auto addresses = newServiceAddresses(start);
        sentences.insert(sentences.end(), addresses.begin(), addresses.end());
    }
    for (std::string& sentence : sentences) {
        sentence +=
            fmt::format(" after process {} started: the answer is for a process that starts "
                        "now, and process {} may keep an older one until it reloads",
                        pid, pid);
    }
    if (withAddresses && isInOtherNetwork(pid)) {
        sentences.push_back(fmt::format("process {} is in another network namespace: the addresses "
                                        "of its host are not those of this one; give them with "
                                        "--local-address",
                                        pid));
    }
    return sentences;
}

} // namespace sysconfctl
