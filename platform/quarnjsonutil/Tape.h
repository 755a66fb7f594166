// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <json/value.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string_view>
#include <utility>
#include <vector>

/// A JSON text in a flat form: values in the order of the text, each found by an index. A reader
/// produces simdjson's form, one 64-bit word for each value. pack() turns it into 32-bit words,
/// which refer to the text, and an index of the members of large objects. Not recursive.
class Tape {
public:
    using Word = std::uint64_t;

    /// The type of a value, in the upper 8 bits of a 64-bit word. The lower bits of an opening
    /// bracket are the index after the closing one; those of a text, its position in `texts`. The
    /// word of a number is followed by its 64 bits; the name of a member, a text, by its value.
    enum Type : char {
        kNull = 'n',
        kTrue = 't',
        kFalse = 'f',
        kSigned = 'l',
        kUnsigned = 'u',
        kDouble = 'd',
        kText = '"',
        kArray = '[',
        kArrayEnd = ']',
        kObject = '{',
        kObjectEnd = '}'
    };
    static constexpr unsigned kTypeShift = 56;

    /// Index 0 is not used.
    static constexpr std::size_t kRoot = 1;

    std::unique_ptr<Word[]> words;
    /// For each text its length, in four bytes, and its bytes.
    std::unique_ptr<std::uint8_t[]> texts;

    bool empty() const { return words == nullptr && m_packed.empty(); }

    Type type(std::size_t index) const {
        return m_packed.empty() ? static_cast<Type>(words[index] >> kTypeShift)
                                : kPackedTypes[m_packed[index] >> kPackedShift];
    }
    bool isContainer(std::size_t index) const {
        return type(index) == kArray || type(index) == kObject;
    }
    bool isEnd(std::size_t index) const {
        return type(index) == kArrayEnd || type(index) == kObjectEnd;
    }

    std::size_t next(std::size_t index) const {
        switch (type(index)) {
        case kArray:
        case kObject:
            return m_packed.empty() ? static_cast<std::uint32_t>(words[index]) : payload(index);
        case kSigned:
        case kUnsigned:
        case kDouble:
            return m_packed.empty() ? index + 2 : index + 1;
        default:
            return index + 1;
        }
    }

    std::string_view text(std::size_t index) const {
        if (!m_packed.empty()) {
            return packedText(index);
        }
        constexpr Word kOffset = (Word{1} << kTypeShift) - 1;
        const std::uint8_t* const start = texts.get() + (words[index] & kOffset);
        std::uint32_t length = 0;
        std::memcpy(&length, start, sizeof length);
        return {reinterpret_cast<const char*>(start) + sizeof length, length};
    }

    Word number(std::size_t index) const {
        return m_packed.empty() ? words[index + 1] : m_numbers[payload(index)];
    }

    /// An array or object is empty.
    Json::Value shallowValue(std::size_t index) const;

    Json::Value value(std::size_t index) const;

    /// Sorted by bytes; of equal names only the last one.
    std::vector<std::uint32_t> sortedNames(std::size_t object) const;

    /// The value of the last member of that name; 0 if there is none.
    std::size_t member(std::size_t object, std::string_view name) const;

    /// Offsets in a longer text do not fit into a packed word.
    static constexpr std::size_t kLargestPacked = (std::size_t{1} << 26U) - 1;

    /// What the packed form takes at least: without respelled texts and the index of members. Not
    /// for a packed tape.
    std::size_t leastPackedMemory() const;

    /// The text must not change as long as the packed tape is used.
    /// @throws std::bad_alloc if memory runs out.
    Tape packed(std::string_view text) const;

    /// Exact for a packed tape, otherwise approximate.
    std::size_t memory() const;

private:
    class Packer;

    /// The upper 6 bits of a packed word are an index of this table. The payload of a kVerbatim
    /// text is the position of its opening quote in the source; of a kRespelled one, its position
    /// in m_respelled, in the form of `texts`.
    static constexpr Type kPackedTypes[] = {kNull, kTrue, kFalse, kSigned,   kUnsigned, kDouble,
                                            kText, kText, kArray, kArrayEnd, kObject,   kObjectEnd};
    enum : std::uint32_t { kVerbatim = 6, kRespelled = 7 };
    static constexpr unsigned kPackedShift = 26;
    static constexpr std::uint32_t kPayload = (std::uint32_t{1} << kPackedShift) - 1;

    static constexpr std::size_t kLarge = 16;

    std::uint32_t payload(std::size_t index) const { return m_packed[index] & kPayload; }
    std::string_view lastText() const;
    std::string_view packedText(std::size_t index) const;
    /// At most `size` bytes of a text, from an offset up to its length. For a packed tape, which
    /// does not store the lengths of verbatim texts, this is faster than a part of text().
    std::string_view partOfText(std::size_t index, std::size_t offset, std::size_t size) const;
    std::size_t packedMember(std::size_t object, std::string_view name) const;
    /// Null for an object that is not large.
    const std::vector<std::uint32_t>* indexOf(std::size_t object) const;
    std::vector<std::uint32_t> sortNames(std::size_t object) const;
    /// Eight bytes of a name.
    struct Piece;
    Piece pieceOf(std::uint32_t name, std::size_t offset) const;
    void sortPieces(std::vector<Piece>& pieces) const;

    std::vector<std::uint32_t> m_packed;
    std::string_view m_source;
    std::vector<Word> m_numbers;
    std::vector<char> m_respelled;
    /// Large objects in ascending order, with their sorted names.
    std::vector<std::pair<std::size_t, std::vector<std::uint32_t>>> m_large;
};
