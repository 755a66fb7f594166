// SPDX-License-Identifier: Apache-2.0
#ifndef JSONREADER_H
#define JSONREADER_H

#include <json/value.h>

#include <string>

/// Reads a JSON text into a tree of jsoncpp's values.
///
/// `JsonReader(false)`, the strict reader, accepts what RFC 8259 calls a JSON text and nothing
/// else: one value of any kind, with white space around it. It refuses comments, trailing commas,
/// numbers such as `01`, `+1`, `1.` and `.5`, raw control characters in texts, NaN and Infinity, a
/// byte-order mark, anything after the value, and a NUL byte anywhere. It does not check the
/// encoding: bytes from 0x80 up are kept verbatim.
///
///   Member names   A repeated name keeps its last value, of whatever type.
///   Whole numbers  intValue if they fit Json::LargestInt, else uintValue if they fit
///                  Json::LargestUInt, else realValue. `-0` is the integer 0.
///   Other numbers  realValue, correctly rounded: a number too large becomes an infinity, one too
///                  small becomes 0. No locale, C or C++, affects this.
///   Texts          As bytes, NUL (`\u0000`) included. The escape of a surrogate pair becomes one
///                  character of UTF-8; a surrogate alone becomes its own three bytes (ED A0 80 to
///                  ED BF BF).
///
/// `JsonReader(true)`, the lenient reader, accepts what jsoncpp's Json::CharReaderBuilder accepts
/// with its defaults: comments, several of the numbers above, anything after the value. At most
/// kLenientNestingLimit levels are accepted. The global C++ locale decides how it reads fractions.
///
/// Stack: the strict reader is not recursive, but jsoncpp copies and frees the tree recursively.
/// Any number of threads may use a reader at the same time.
class [[gnu::visibility("default")]] JsonReader {
public:
    enum : unsigned {
        /// Of the strict reader, because copying a tree of this depth with jsoncpp 1.9.5 on x86-64
        /// takes 112 KiB of stack, and up to 1.5 MiB with 30,000 children in each level
        /// (docs/security-model.md).
        kNestingLimit = 1024,
        /// Of the lenient reader, which is recursive: 544 bytes of stack per level.
        kLenientNestingLimit = 24,
        /// jsoncpp's limit for member names.
        kTextLimit = (1U << 30U) - 1
    };

    explicit JsonReader(bool lenient);

    /// Reads the whole text. An empty text fails.
    ///
    /// @return Whether the text was accepted. Only then is `value` replaced; otherwise it is
    ///         unchanged, comments included.
    /// @throws std::bad_alloc if memory runs out, with `value` unchanged; nothing else.
    bool parse(const std::string& text, Json::Value& value);

private:
    bool m_lenient;
};

#endif // JSONREADER_H
