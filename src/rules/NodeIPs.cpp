// SPDX-License-Identifier: Apache-2.0
#include "rules/NodeIPs.h"

#include <charconv>
#include <cstdlib>
#include <utility>

namespace Quarncommon::rules {

int numberInTag(const std::string& tag, std::size_t prefixLength) {
    const long number = std::strtol(tag.c_str() + prefixLength, nullptr, 10);
    return static_cast<int>(static_cast<unsigned int>(number));
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

void reportServices(const TagWalk& seen, const std::map<std::string, std::string>& byTag,
                    Trace* trace) {
    if (trace == nullptr) {
        return;
    }
    const auto leaveOut = [&](std::string_view tag, bool leftOut) {
        std::string slot(tag);
        if (leftOut && !byTag.contains(slot)) {
            trace->report(SlotNotNeeded{std::move(slot)});
        }
    };
    leaveOut(kServiceTag, seen.hasFamily());
    leaveOut(kService2Tag, seen.hasFamily() || !seen.complete);
}

void addServices(const TagWalk& seen, std::map<std::string, std::string>& byTag, Trace* trace) {
    reportServices(seen, byTag, trace);
    if (seen.hasFamily()) {
        return;
    }
    byTag[std::string(kServiceTag)] = seen.service;
    if (std::string second = seen.secondService(); !second.empty()) {
        byTag[std::string(kService2Tag)] = std::move(second);
    }
}

} // namespace Quarncommon::rules
