#include "Tape.h"

#include <algorithm>

/// Walks over a tape and the text that it was read from, side by side.
class Tape::Packer {
public:
    Packer(const Tape& tape, std::string_view text, Tape& packed)
        : m_tape(tape), m_text(text), m_packed(packed) {}

    void pack() {
        const std::size_t end = m_tape.next(kRoot);
        m_packed.m_source = m_text;
        reserve(end);
        m_packed.m_packed.push_back(0);
        for (std::size_t index = kRoot; index != end;) {
            index = packValue(index);
        }
        std::sort(m_packed.m_large.begin(), m_packed.m_large.end());
    }

private:
    /// Counts first, so that the vectors have no more room than they need.
    void reserve(std::size_t end) {
        std::size_t words = 1;
        std::size_t numbers = 0;
        for (std::size_t index = kRoot; index != end; ++words) {
            const bool number = !m_tape.isContainer(index) && m_tape.next(index) == index + 2;
            numbers += number ? 1 : 0;
            index += number ? 2 : 1;
        }
        m_packed.m_packed.reserve(words);
        m_packed.m_numbers.reserve(numbers);
    }

    /// Packs the word at `index`, without what is in a container. Returns the index after it.
    std::size_t packValue(std::size_t index) {
        const Type type = m_tape.type(index);
        const std::size_t here = m_packed.m_packed.size();
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
            m_open.push_back(here);
            put(type, 0);
            return index + 1;
        case kArrayEnd:
        case kObjectEnd:
            put(type, 0);
            m_packed.m_packed[m_open.back()] |= static_cast<std::uint32_t>(here + 1);
            if (type == kObjectEnd) {
                indexIfLarge(m_open.back());
            }
            m_open.pop_back();
            return index + 1;
        default:
            put(type, 0);
            return index + 1;
        }
    }

    void put(Type type, std::size_t payload) {
        const auto* const code = std::find(std::begin(kPackedTypes), std::end(kPackedTypes), type);
        putCode(static_cast<std::uint32_t>(code - std::begin(kPackedTypes)), payload);
    }

    void putCode(std::uint32_t code, std::size_t payload) {
        m_packed.m_packed.push_back(code << kPackedShift | static_cast<std::uint32_t>(payload));
    }

    void packText(std::string_view bytes) {
        // Between two texts of a valid text there are no quotes.
        m_position = m_text.find('"', m_position);
        const std::string_view source = m_text.substr(m_position + 1, bytes.size());
        const std::size_t end = m_position + 1 + bytes.size();
        // Without a backslash before it, the quote at `end` is the closing one.
        if (m_text[end] == '"' && source == bytes && source.find('\\') == source.npos) {
            putCode(kVerbatim, m_position);
            m_position = end + 1;
            return;
        }
        putCode(kRespelled, m_packed.m_respelled.size());
        const auto length = static_cast<std::uint32_t>(bytes.size());
        const char* const size = reinterpret_cast<const char*>(&length);
        m_packed.m_respelled.insert(m_packed.m_respelled.end(), size, size + sizeof length);
        m_packed.m_respelled.insert(m_packed.m_respelled.end(), bytes.begin(), bytes.end());
        skipText();
    }

    /// Goes from an opening quote to after the closing one.
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
    std::size_t m_position = 0;
    /// The containers that are not closed yet, innermost last.
    std::vector<std::size_t> m_open;
};

Tape Tape::packed(std::string_view text) const {
    Tape packed;
    Packer(*this, text, packed).pack();
    return packed;
}

std::size_t Tape::packedSize() const {
    std::size_t size = m_packed.capacity() * sizeof m_packed[0] +
                       m_numbers.capacity() * sizeof m_numbers[0] + m_respelled.capacity() +
                       m_large.capacity() * sizeof m_large[0];
    for (const auto& [object, names] : m_large) {
        size += names.capacity() * sizeof names[0];
    }
    return size;
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

const std::vector<std::uint32_t>* Tape::indexOf(std::size_t object) const {
    const auto found = std::lower_bound(
        m_large.begin(), m_large.end(), object,
        [](const auto& large, std::size_t wanted) { return large.first < wanted; });
    return found != m_large.end() && found->first == object ? &found->second : nullptr;
}
