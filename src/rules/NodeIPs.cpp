#include "rules/NodeIPs.h"

#include <charconv>
#include <cstdlib>

namespace Quarncommon::rules {

namespace {

/// The number after a tag's prefix: decimal, 0 without digits, saturated to the range of `long` and
/// then cut to its low 32 bits.
int numberIn(const std::string& tag, std::size_t prefixLength) {
    const long number = std::strtol(tag.c_str() + prefixLength, nullptr, 10);
    return static_cast<int>(static_cast<unsigned int>(number));
}

void keepFirst(std::map<int, std::string>& byNumber, int number, const SharedAddress& address) {
    byNumber.try_emplace(number, *address);
}

void keepFirst(std::map<int, SharedAddress>& byNumber, int number, const SharedAddress& address) {
    byNumber.try_emplace(number, address);
}

template <typename Address>
void collect(const Node& addresses, const std::string& prefix, std::map<int, Address>& byNumber,
             std::string& service, std::string& service2) {
    for (const Node& node : addresses.children()) {
        AddressEntry entry(node);
        const SharedAddress& address = entry.address();
        for (const Node& usage : entry.usage().children()) {
            const std::string tag = lowerCased(usage.asString());
            // The prefix may be anywhere in the tag, but the number is cut at the prefix's length:
            // in a tag that does not start with the prefix this is a piece of the tag's text.
            if (tag.find(prefix) != std::string::npos) {
                keepFirst(byNumber, numberIn(tag, prefix.size()), address);
            } else if (tag == kServiceTag && entry.firstFor(&service)) {
                service = *address;
            } else if (tag == kService2Tag && entry.firstFor(&service2)) {
                service2 = *address;
            }
        }
    }
}

} // namespace

void collectByNumber(const Node& addresses, const std::string& prefix,
                     std::map<int, std::string>& byNumber, std::string& service,
                     std::string& service2) {
    collect(addresses, prefix, byNumber, service, service2);
}

void collectByNumber(const Node& addresses, const std::string& prefix,
                     std::map<int, SharedAddress>& byNumber, std::string& service,
                     std::string& service2) {
    collect(addresses, prefix, byNumber, service, service2);
}

int southboundSlot(std::string_view tag, std::string_view family) {
    if (!tag.starts_with(family)) {
        return 0;
    }
    const std::string_view digits = tag.substr(family.size());
    if (digits.empty()) {
        return 1;
    }
    int slot = 0;
    const char* end = digits.data() + digits.size();
    const auto [stop, error] = std::from_chars(digits.data(), end, slot);
    const bool plain = error == std::errc{} && stop == end && digits.front() != '0';
    return plain && slot >= 2 && slot <= kSouthboundSlots ? slot : 0;
}

} // namespace Quarncommon::rules
