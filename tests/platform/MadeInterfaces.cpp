// SPDX-License-Identifier: Apache-2.0
#include "MadeInterfaces.h"

#include <arpa/inet.h>
#include <dlfcn.h>

#include <cerrno>

namespace {

enum class Kernel { Real, Refusing, Made };

struct {
    Kernel kernel = Kernel::Real;
    ifaddrs* made = nullptr;
    int unfreed = 0;
} answer;

template <typename Function>
Function* original(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

} // namespace

MadeInterfaces::MadeInterfaces() {
    answer.kernel = Kernel::Refusing;
}

MadeInterfaces::MadeInterfaces(const std::vector<std::string>& texts) : m_nodes(texts.size()) {
    for (std::size_t i = 0; i < texts.size(); ++i) {
        Node& node = m_nodes[i];
        node.entry.ifa_name = m_name.data();
        node.entry.ifa_addr = texts[i] == "none" ? nullptr : node.fill(texts[i]);
        node.entry.ifa_next = i + 1 < texts.size() ? &m_nodes[i + 1].entry : nullptr;
    }
    answer.kernel = Kernel::Made;
    answer.made = texts.empty() ? nullptr : &m_nodes.front().entry;
}

MadeInterfaces::~MadeInterfaces() {
    answer.kernel = Kernel::Real;
    answer.made = nullptr;
}

int MadeInterfaces::unfreed() {
    return answer.unfreed;
}

sockaddr* MadeInterfaces::Node::fill(const std::string& text) {
    if (inet_pton(AF_INET, text.c_str(), &v4.sin_addr) == 1) {
        v4.sin_family = AF_INET;
        return reinterpret_cast<sockaddr*>(&v4);
    }
    if (inet_pton(AF_INET6, text.c_str(), &v6.sin6_addr) == 1) {
        v6.sin6_family = AF_INET6;
        return reinterpret_cast<sockaddr*>(&v6);
    }
    other.sa_family = AF_PACKET;
    return &other;
}

// Visible to the library under test.

extern "C" [[gnu::visibility("default")]] int getifaddrs(ifaddrs** list) noexcept {
    if (answer.kernel == Kernel::Refusing) {
        static ifaddrs notToBeRead{};
        *list = &notToBeRead;
        errno = ENOBUFS;
        return -1;
    }
    if (answer.kernel == Kernel::Real) {
        ++answer.unfreed;
        return original<decltype(getifaddrs)>("getifaddrs")(list);
    }
    answer.unfreed += answer.made != nullptr ? 1 : 0;
    *list = answer.made;
    return 0;
}

extern "C" [[gnu::visibility("default")]] void freeifaddrs(ifaddrs* list) noexcept {
    answer.unfreed -= list != nullptr ? 1 : 0;
    if (list != answer.made) {
        original<decltype(freeifaddrs)>("freeifaddrs")(list);
    }
}
