#include "rules/NodeIPs.h"

#include <charconv>
#include <cstdlib>

namespace Quarncommon::rules {

namespace {

/// The number behind a tag's prefix: decimal, 0 without digits, saturated to the range of `long`
/// and then cut to its low 32 bits.
int numberIn(const std::string& tag, std::size_t prefixLength) {
    const long number = std::strtol(tag.substr(prefixLength).c_str(), nullptr, 10);
    return static_cast<int>(static_cast<unsigned int>(number));
}

} // namespace

void collectByNumber(const Node& addresses, const std::string& prefix,
                     std::map<int, std::string>& byNumber, std::string& service,
                     std::string& service2) {
    for (const Node& entry : addresses.children()) {
        const std::string address = entry["IP"].asString();
        for (const Node& usage : entry["usage"].children()) {
            const std::string tag = lowerCased(usage.asString());
            // The prefix may stand anywhere, yet the number is cut at the prefix's length: for a
            // tag that does not begin with the prefix that is a piece of the tag's own text.
            if (tag.find(prefix) != std::string::npos) {
                byNumber.emplace(numberIn(tag, prefix.size()), address);
            } else if (tag == kServiceTag) {
                service = address;
            } else if (tag == kService2Tag) {
                service2 = address;
            }
        }
    }
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
