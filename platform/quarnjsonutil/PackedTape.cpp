// SPDX-License-Identifier: Apache-2.0
#include "Tape.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <iterator>

class Tape::Packer {
    /// The index in kPackedTypes for each type.
    static constexpr auto kCodes = [] {
        std::array<std::uint8_t, 256> codes{};
        for (std::uint8_t code = 0; code != std::size(kPackedTypes); ++code) {
            codes.at(static_cast<unsigned char>(kPackedTypes[code])) = code;
        }
        return codes;
    }();

public:
    Packer(const Tape& tape, std::string_view text, Tape& packed)
        : m_tape(tape), m_text(text), m_packed(packed),
          m_hasEscapes(text.find('\\') != std::string_view::npos) {}

    void pack() {
        const std::size_t end = m_tape.next(kRoot);
        m_packed.m_source = m_text;
        m_packed.m_packed.reserve(end);
        m_packed.m_packed.push_back(0);
        for (std::size_t index = kRoot; index != end;) {
            index = packWord(index);
        }
        m_packed.m_packed.shrink_to_fit();
        m_packed.m_numbers.shrink_to_fit();
        m_packed.m_respelled.shrink_to_fit();
        std::sort(m_packed.m_large.begin(), m_packed.m_large.end());
        m_packed.m_large.shrink_to_fit();
    }

private:
    std::size_t packWord(std::size_t index) {
        const Type type = m_tape.type(index);
        switch (type) {
        case kText:
            packText(m_tape.text(index));
            return index + 1;
        case kSigned:
        case kUnsigned:
        case kDouble:
            put(type, m_packed.m_numbers.size());
            m_packed.m_numbers.push_back(m_tape.number(index));
            return index + 2;
        case kArray:
        case kObject:
            m_open.push_back(m_packed.m_packed.size());
            put(type, 0);
            return index + 1;
        case kArrayEnd:
        case kObjectEnd:
            put(type, 0);
            close(type);
            return index + 1;
        default:
            put(type, 0);
            return index + 1;
        }
    }

    void close(Type type) {
        const std::size_t container = m_open.back();
        m_open.pop_back();
        const std::size_t end = m_packed.m_packed.size();
        m_packed.m_packed[container] |= static_cast<std::uint32_t>(end);
        // A member has two words or more.
        if (type == kObjectEnd && end - container > 2 * kLarge) {
            indexIfLarge(container);
        }
    }

    void put(Type type, std::size_t payload) {
        putCode(kCodes[static_cast<unsigned char>(type)], payload);
    }

    void putCode(std::uint32_t code, std::size_t payload) {
        m_packed.m_packed.push_back(code << kPackedShift | static_cast<std::uint32_t>(payload));
    }

    void packText(std::string_view bytes) {
        // Outside strings a valid text has no quotes.
        m_position = m_text.find('"', m_position);
        if (isVerbatim(bytes)) {
            putCode(kVerbatim, m_position);
            m_position += bytes.size() + 2;
            return;
        }
        putCode(kRespelled, m_packed.m_respelled.size());
        const auto length = static_cast<std::uint32_t>(bytes.size());
        const char* const size = reinterpret_cast<const char*>(&length);
        m_packed.m_respelled.insert(m_packed.m_respelled.end(), size, size + sizeof length);
        m_packed.m_respelled.insert(m_packed.m_respelled.end(), bytes.begin(), bytes.end());
        skipText();
    }

    /// Whether the string has no escape, which would make its source longer than `bytes`.
    bool isVerbatim(std::string_view bytes) const {
        return !m_hasEscapes ||
               (m_text[m_position + 1 + bytes.size()] == '"' &&
                m_text.substr(m_position + 1, bytes.size()).find('\\') == std::string_view::npos);
    }

    void skipText() {
        ++m_position;
        while (m_text[m_position] != '"') {
            m_position += m_text[m_position] == '\\' ? 2 : 1;
        }
        ++m_position;
    }

    void indexIfLarge(std::size_t object) {
        std::size_t members = 0;
        for (std::size_t at = object + 1; !m_packed.isEnd(at); at = m_packed.next(at + 1)) {
            ++members;
        }
        if (members >= kLarge) {
            m_packed.m_large.emplace_back(object, m_packed.sortNames(object));
        }
    }

    const Tape& m_tape;
    std::string_view m_text;
    Tape& m_packed;
    bool m_hasEscapes;
    std::size_t m_position = 0;
    std::vector<std::size_t> m_open;
};

std::size_t Tape::leastPackedMemory() const {
    std::size_t memory = 0;
    for (std::size_t index = kRoot, end = next(kRoot); index != end;) {
        const bool isNumber =
            type(index) == kSigned || type(index) == kUnsigned || type(index) == kDouble;
        memory += sizeof m_packed[0] + (isNumber ? sizeof m_numbers[0] : 0);
        index += isNumber ? 2 : 1;
    }
    return memory;
}

Tape Tape::packed(std::string_view text) const {
    Tape packed;
    Packer(*this, text, packed).pack();
    return packed;
}

std::size_t Tape::memory() const {
    if (empty()) {
        return 0;
    }
    if (m_packed.empty()) {
        const std::string_view text = lastText();
        const auto* const end = reinterpret_cast<const std::uint8_t*>(text.data() + text.size());
        return next(kRoot) * sizeof(Word) +
               (text.data() != nullptr ? static_cast<std::size_t>(end - texts.get()) : 0);
    }
    std::size_t size = m_packed.capacity() * sizeof m_packed[0] +
                       m_numbers.capacity() * sizeof m_numbers[0] + m_respelled.capacity() +
                       m_large.capacity() * sizeof m_large[0];
    for (const auto& [object, names] : m_large) {
        size += names.capacity() * sizeof names[0];
    }
    return size;
}

std::string_view Tape::lastText() const {
    std::size_t last = 0;
    for (std::size_t container = kRoot; container != 0 && isContainer(container);) {
        std::size_t inner = 0; // the last container after the last text
        for (std::size_t at = container + 1; !isEnd(at); at = next(at)) {
            if (type(at) == kText) {
                last = at;
                inner = 0;
            } else if (isContainer(at)) {
                inner = at;
            }
        }
        container = inner;
    }
    return last != 0 ? text(last) : std::string_view();
}

std::string_view Tape::packedText(std::size_t index) const {
    if (m_packed[index] >> kPackedShift == kVerbatim) {
        const std::string_view rest = m_source.substr(payload(index) + 1);
        return rest.substr(0, rest.find('"'));
    }
    const char* const start = m_respelled.data() + payload(index);
    std::uint32_t length = 0;
    std::memcpy(&length, start, sizeof length);
    return {start + sizeof length, length};
}

std::size_t Tape::packedMember(std::size_t object, std::string_view name) const {
    // A string that is stored verbatim contains no quote.
    const bool maybeVerbatim = name.find('"') == std::string_view::npos;
    // Local copies, because the compiler would read the members again after each comparison.
    const std::uint32_t* const packed = m_packed.data();
    const std::string_view source = m_source;
    const auto hasName = [&](std::size_t index) {
        if (packed[index] >> kPackedShift != kVerbatim) {
            return text(index) == name;
        }
        // The closing quote is compared first: most other names have another length.
        const std::size_t start = (packed[index] & kPayload) + 1;
        return maybeVerbatim && source.size() - start > name.size() &&
               source[start + name.size()] == '"' &&
               std::memcmp(source.data() + start, name.data(), name.size()) == 0;
    };
    std::size_t found = 0;
    for (std::size_t at = object + 1, end = payload(object) - 1; at != end;) {
        found = hasName(at) ? at + 1 : found;
        const Type type = kPackedTypes[packed[at + 1] >> kPackedShift];
        at = type == kArray || type == kObject ? packed[at + 1] & kPayload : at + 2;
    }
    return found;
}

const std::vector<std::uint32_t>* Tape::indexOf(std::size_t object) const {
    const auto found = std::lower_bound(
        m_large.begin(), m_large.end(), object,
        [](const auto& large, std::size_t wanted) { return large.first < wanted; });
    return found != m_large.end() && found->first == object ? &found->second : nullptr;
}
