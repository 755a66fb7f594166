#ifndef JSONREADER_H
#define JSONREADER_H

#include <json/value.h>

#include <string>

/// Reads a JSON text into a tree of jsoncpp's values.
///
/// `JsonReader(false)`, the strict reader, accepts what RFC 8259 calls a JSON text and nothing
/// else: one value of any kind, with white space around it. It refuses comments, trailing commas,
/// numbers such as `01`, `+1`, `1.` and `.5`, raw control characters in texts, NaN and Infinity, a
/// byte-order mark, anything after the value, and a NUL byte wherever it stands. It judges no
/// encoding: bytes from 0x80 up pass as they stand.
///
///   Member names   A repeated name keeps its last value, whatever the types.
///   Whole numbers  intValue when they fit Json::LargestInt, else uintValue when they fit
///                  Json::LargestUInt, else realValue. `-0` is the integer 0.
///   Other numbers  realValue, correctly rounded: a number too large becomes an infinity, one too
///                  small becomes 0. No locale, C or C++, has a say in this.
///   Texts          As bytes, NUL (`\u0000`) included. The escape of a surrogate pair becomes one
///                  character of UTF-8; a surrogate alone becomes its own three bytes (ED A0 80 to
///                  ED BF BF).
///
/// Two limits make a grammatical text fail: at most kNestingLimit arrays and objects may be open at
/// once, and a text may have kTextLimit bytes, beyond which jsoncpp could not hold its longest
/// possible member name.
///
/// `JsonReader(true)`, the lenient reader, accepts what jsoncpp's Json::CharReaderBuilder accepts
/// with its defaults: comments, several of the numbers above, anything after the value. Nesting is
/// limited as above, a value in the innermost container counting as a level. The global C++ locale
/// decides how it reads fractions.
///
/// Threads: a reader holds no state but its flag; any number of threads may use one at once.
class [[gnu::visibility("default")]] JsonReader {
public:
    enum : unsigned {
        /// jsoncpp copies and frees a tree recursively. Measured with jsoncpp 1.9.5 on x86-64,
        /// copying takes 112 bytes of stack a level, and 48 more for each step to the right in the
        /// search tree that holds the level's children, at most 2 * log2(n + 1) of them; freeing
        /// takes less. At this limit that is 35 KiB for levels of 30,000 children each, so that a
        /// third of a stack of 64 KiB remains to a caller that reads, copies or frees; and with
        /// as many children on every level as kTextLimit allows (16 million), 58 KiB. The lenient
        /// reader is recursive itself, at 544 bytes a level. No configuration file comes near.
        kNestingLimit = 24,
        kTextLimit = (1U << 30U) - 1
    };

    /// @param lenient False for the strict reader, true for the lenient one.
    explicit JsonReader(bool lenient);

    /// Reads the whole of `text`. Empty text fails.
    ///
    /// @return Whether the text was accepted. Only then is `value` replaced; otherwise it stays
    ///         as it was, comments included.
    /// @throws std::bad_alloc when memory runs out, `value` being untouched; nothing else.
    bool parse(const std::string& text, Json::Value& value);

private:
    bool m_lenient;
};

#endif // JSONREADER_H
