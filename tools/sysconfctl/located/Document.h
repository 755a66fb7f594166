#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// JSON texts of which every value and every member name knows where it stands. jsoncpp's tree
/// knows nothing of member names, of repeated members or of what lies behind an error; this one
/// answers for exactly the texts that the library's own reader accepts, and tells why it refuses
/// the others.
namespace sysconfctl::located {

/// Line and column from 1 on. A column is a character of UTF-8; a byte that belongs to none is one,
/// too.
struct Place {
    std::size_t line = 1;
    std::size_t column = 1;
    bool operator==(const Place&) const = default;
};

enum class Kind { Null, Boolean, Number, String, Array, Object };

struct Member;

/// A value and the bytes from `begin` to before `end` in which it stands.
struct Value {
    Kind kind = Kind::Null;
    std::size_t begin = 0;
    std::size_t end = 0;
    /// Of a string what it means, of other scalars the bytes as they stand.
    std::string text;
    std::vector<Value> elements;
    /// In the order of the text, repeated ones included.
    std::vector<Member> members;

    /// The member of that name that counts, the last one; null when there is none.
    const Member* member(std::string_view name) const;
};

struct Member {
    std::string name;
    std::size_t nameBegin = 0;
    std::size_t nameEnd = 0;
    Value value;
};

/// From the root inwards: names of members, decimal indexes of elements.
using Path = std::vector<std::string>;

/// The path as a JSON pointer (RFC 6901): "" for the root, "/nodeList/n1/IPAddresses/0".
std::string pointer(const Path& path);

/// Why and where a text is refused.
struct SyntaxError {
    std::size_t offset = 0;
    std::string sentence;
    /// What to do about it; may be empty.
    std::string hint;
    /// The value or member that was being read.
    Path path;
};

/// What a text may have; 0 for any number.
struct Limits {
    std::size_t nesting = 0;
    std::size_t length = 0;
};

/// The limits of the JSON library that this build reads with.
Limits libraryLimits();

/// Not to be asked by several threads.
class Document {
public:
    explicit Document(std::string text, Limits limits = libraryLimits());

    const std::string& text() const { return m_text; }
    /// Nothing for a text that is accepted.
    const std::optional<SyntaxError>& error() const { return scanned().error; }
    /// The text's value; of a refused text, what was read of it before the error.
    const Value& root() const { return scanned().root; }

    /// The value at the end of the path as the library would look it up; null when there is none.
    const Value* find(const Path& path) const;
    /// The member that the last step of the path names; null when that is no member.
    const Member* findMember(const Path& path) const;

    Place place(std::size_t offset) const;
    std::size_t lineCount() const { return m_lineStarts.size(); }
    /// A line without its end; lines count from 1.
    std::string_view line(std::size_t number) const;
    std::size_t lineStart(std::size_t number) const { return m_lineStarts.at(number - 1); }

private:
    struct Scanned {
        Value root;
        std::optional<SyntaxError> error;
    };

    const Scanned& scanned() const;

    std::string m_text;
    Limits m_limits;
    std::vector<std::size_t> m_lineStarts;
    /// Made when it is first asked for: most explanations look into one file of three.
    mutable std::optional<Scanned> m_scanned;
    /// Of the offset that was last asked for, the characters before it in its line. Places are
    /// mostly asked for in their order: counting goes on from there.
    mutable std::size_t m_countedTo = 0;
    mutable std::size_t m_characters = 0;
};

} // namespace sysconfctl::located
