// SPDX-License-Identifier: Apache-2.0
#include "Tape.h"

#include <algorithm>
#include <bit>

Json::Value Tape::shallowValue(std::size_t index) const {
    switch (type(index)) {
    case kTrue:
    case kFalse:
        return type(index) == kTrue;
    case kSigned:
        return static_cast<Json::LargestInt>(number(index));
    case kUnsigned:
        return static_cast<Json::LargestUInt>(number(index));
    case kDouble:
        return std::bit_cast<double>(number(index));
    case kText: {
        const std::string_view bytes = text(index);
        return {bytes.data(), bytes.data() + bytes.size()};
    }
    case kArray:
        return Json::arrayValue;
    case kObject:
        return Json::objectValue;
    default:
        return {};
    }
}

Json::Value Tape::value(std::size_t index) const {
    Json::Value built;
    // The open containers, innermost last. Addresses are stable: jsoncpp keeps children in a map.
    std::vector<Json::Value*> open;
    for (const std::size_t end = next(index); index != end;) {
        if (isEnd(index)) {
            open.pop_back();
            ++index;
            continue;
        }
        Json::Value* place = &built;
        if (!open.empty() && open.back()->isArray()) {
            place = &open.back()->append(Json::Value());
        } else if (!open.empty()) {
            const std::string_view name = text(index++);
            place = open.back()->demand(name.data(), name.data() + name.size());
        }
        *place = shallowValue(index);
        if (isContainer(index)) {
            open.push_back(place);
            ++index;
        } else {
            index = next(index);
        }
    }
    return built;
}

std::vector<std::uint32_t> Tape::sortedNames(std::size_t object) const {
    const std::vector<std::uint32_t>* index = indexOf(object);
    return index != nullptr ? *index : sortNames(object);
}

std::size_t Tape::member(std::size_t object, std::string_view name) const {
    if (const std::vector<std::uint32_t>* index = indexOf(object)) {
        const auto found =
            std::lower_bound(index->begin(), index->end(), name,
                             [this](std::uint32_t candidate, std::string_view wanted) {
                                 return text(candidate) < wanted;
                             });
        return found != index->end() && text(*found) == name ? *found + 1 : 0;
    }
    if (!m_packed.empty()) {
        return packedMember(object, name);
    }
    std::size_t found = 0;
    for (std::size_t at = object + 1; !isEnd(at); at = next(at + 1)) {
        if (text(at) == name) {
            found = at + 1;
        }
    }
    return found;
}

std::vector<std::uint32_t> Tape::sortNames(std::size_t object) const {
    std::vector<std::uint32_t> names;
    for (std::size_t name = object + 1; !isEnd(name); name = next(name + 1)) {
        names.push_back(static_cast<std::uint32_t>(name));
    }
    const auto ascending = [&](std::uint32_t a, std::uint32_t b) { return text(a) < text(b); };
    const auto notAscending = [&](std::uint32_t a, std::uint32_t b) { return !ascending(a, b); };
    if (std::adjacent_find(names.begin(), names.end(), notAscending) != names.end()) {
        std::sort(names.begin(), names.end(), [&](std::uint32_t a, std::uint32_t b) {
            const int order = text(a).compare(text(b));
            return order != 0 ? order < 0 : a > b; // of equal names the last one comes first
        });
        const auto same = [&](std::uint32_t a, std::uint32_t b) { return text(a) == text(b); };
        names.erase(std::unique(names.begin(), names.end(), same), names.end());
    }
    return names;
}
