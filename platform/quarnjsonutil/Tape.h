#pragma once

#include <json/value.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string_view>

/// A JSON text in a flat form, which is simdjson's: one 64-bit word for each value, in the order of
/// the text. Reading and freeing it takes no stack, however deep the text is nested.
class Tape {
public:
    using Word = std::uint64_t;

    /// The types of values, in the upper 8 bits of a word. A container starts with its opening
    /// bracket, whose lower 32 bits are the index after the closing one. The word of a number is
    /// followed by its 64 bits. A text's lower bits are where `texts` has it. A member is its name,
    /// a text, followed by its value.
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

    /// The index of the text's value; index 0 is not used.
    static constexpr std::size_t kRoot = 1;

    std::unique_ptr<Word[]> words;
    /// Each text as its length, in four bytes, and its bytes.
    std::unique_ptr<std::uint8_t[]> texts;

    Type type(std::size_t index) const { return static_cast<Type>(words[index] >> kTypeShift); }
    bool isContainer(std::size_t index) const {
        return type(index) == kArray || type(index) == kObject;
    }
    bool isEnd(std::size_t index) const {
        return type(index) == kArrayEnd || type(index) == kObjectEnd;
    }

    /// The index after the value at `index`, with everything in it.
    std::size_t next(std::size_t index) const {
        switch (type(index)) {
        case kArray:
        case kObject:
            return static_cast<std::uint32_t>(words[index]);
        case kSigned:
        case kUnsigned:
        case kDouble:
            return index + 2;
        default:
            return index + 1;
        }
    }

    /// The text or member name at `index`.
    std::string_view text(std::size_t index) const {
        constexpr Word kOffset = (Word{1} << kTypeShift) - 1;
        const std::uint8_t* const start = texts.get() + (words[index] & kOffset);
        std::uint32_t length = 0;
        std::memcpy(&length, start, sizeof length);
        return {reinterpret_cast<const char*>(start) + sizeof length, length};
    }

    /// The value at `index`; of a container its type only, without what is in it.
    Json::Value shallowValue(std::size_t index) const;

    /// The value at `index` with everything in it.
    Json::Value value(std::size_t index) const;
};
