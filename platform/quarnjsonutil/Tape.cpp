// SPDX-License-Identifier: Apache-2.0
#include "Tape.h"

#include <algorithm>
#include <bit>
#include <tuple>

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
                                 return partOfText(candidate, 0, wanted.size() + 1) < wanted;
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

std::string_view Tape::partOfText(std::size_t index, std::size_t offset, std::size_t size) const {
    if (m_packed.empty() || m_packed[index] >> kPackedShift != kVerbatim) {
        return text(index).substr(offset, size);
    }
    const std::string_view part = m_source.substr(payload(index) + 1 + offset, size);
    return part.substr(0, part.find('"'));
}

struct Tape::Piece {
    static constexpr std::size_t kSize = sizeof(std::uint64_t);

    /// The first one is the most significant. Zeros follow the end of the name.
    std::uint64_t bytes;
    /// The number of bytes of the name in the piece; kSize + 1 if the name continues after it.
    std::uint32_t length;
    /// 0 for a name that is repeated later.
    std::uint32_t name;

    bool operator<(const Piece& other) const {
        return std::tie(bytes, length, name) < std::tie(other.bytes, other.length, other.name);
    }
    bool hasSameBytes(const Piece& other) const {
        return bytes == other.bytes && length == other.length;
    }
};

Tape::Piece Tape::pieceOf(std::uint32_t name, std::size_t offset) const {
    const std::string_view rest = partOfText(name, offset, Piece::kSize + 1);
    Piece piece{0, static_cast<std::uint32_t>(rest.size()), name};
    for (std::size_t i = 0; i != Piece::kSize; ++i) {
        const unsigned byte = i < rest.size() ? static_cast<std::uint8_t>(rest[i]) : 0;
        piece.bytes = piece.bytes << 8U | byte;
    }
    return piece;
}

void Tape::sortPieces(std::vector<Piece>& pieces) const {
    // Names that are equal up to the offset.
    struct Run {
        std::size_t first;
        std::size_t last;
        std::size_t offset;
    };
    std::vector<Run> runs{{0, pieces.size(), 0}};
    while (!runs.empty()) {
        const Run run = runs.back();
        runs.pop_back();
        const auto end = pieces.begin() + static_cast<std::ptrdiff_t>(run.last);
        auto first = pieces.begin() + static_cast<std::ptrdiff_t>(run.first);
        std::transform(first, end, first,
                       [&](const Piece& piece) { return pieceOf(piece.name, run.offset); });
        std::sort(first, end);
        while (first != end) {
            const auto last = std::find_if_not(
                first, end, [&](const Piece& piece) { return piece.hasSameBytes(*first); });
            if (first->length <= Piece::kSize) {
                std::for_each(first, last - 1, [](Piece& repeated) { repeated.name = 0; });
            } else if (last - first > 1) {
                runs.push_back({static_cast<std::size_t>(first - pieces.begin()),
                                static_cast<std::size_t>(last - pieces.begin()),
                                run.offset + Piece::kSize});
            }
            first = last;
        }
    }
}

std::vector<std::uint32_t> Tape::sortNames(std::size_t object) const {
    std::vector<std::uint32_t> names;
    for (std::size_t name = object + 1; !isEnd(name); name = next(name + 1)) {
        names.push_back(static_cast<std::uint32_t>(name));
    }
    const auto notAscending = [&](std::uint32_t a, std::uint32_t b) { return text(a) >= text(b); };
    if (std::adjacent_find(names.begin(), names.end(), notAscending) != names.end()) {
        // Comparing whole names would take much longer: they are scattered over the memory, and
        // the end of a packed one has to be searched for.
        std::vector<Piece> pieces;
        pieces.reserve(names.size());
        for (const std::uint32_t name : names) {
            pieces.push_back({0, 0, name});
        }
        sortPieces(pieces);
        names.clear();
        for (const Piece& piece : pieces) {
            if (piece.name != 0) {
                names.push_back(piece.name);
            }
        }
    }
    return names;
}
