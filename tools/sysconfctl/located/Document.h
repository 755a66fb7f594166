// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

/// A JSON parser that keeps the position of each value and member name, repeated members, and the
/// content before an error. It accepts exactly the texts that the library's reader accepts.
namespace sysconfctl::located {

/// Line and column, both starting at 1. A column is a UTF-8 character or an invalid byte.
struct Place {
    std::size_t line = 1;
    std::size_t column = 1;
    bool operator==(const Place&) const = default;
};

enum class Kind { Null, Boolean, Number, String, Array, Object };

struct Member;

struct Value {
    Kind kind = Kind::Null;
    std::size_t begin = 0;
    std::size_t end = 0;
    /// The unescaped text of a string; the verbatim bytes of other scalars.
    std::string text;
    std::vector<Value> elements;
    /// In text order, including repeated names.
    std::vector<Member> members;

    /// The one that the library uses: the last one.
    const Member* member(std::string_view name) const;
};

struct Member {
    std::string name;
    std::size_t nameBegin = 0;
    std::size_t nameEnd = 0;
    Value value;
};

/// From the root: names of members, decimal indexes of elements.
using Path = std::vector<std::string>;

/// RFC 6901: "" for the root, "/nodeList/n1/IPAddresses/0".
std::string pointer(const Path& path);

struct SyntaxError {
    std::size_t offset = 0;
    std::string sentence;
    std::string hint;
    Path path;
};

/// Limits of a text; 0 means unlimited.
struct Limits {
    std::size_t nesting = 0;
    std::size_t length = 0;
};

Limits libraryLimits();

/// Not thread-safe, not even for reading.
class Document {
public:
    explicit Document(std::string text, Limits limits = libraryLimits());

    const std::string& text() const { return m_text; }
    /// Unset if the text is accepted.
    const std::optional<SyntaxError>& error() const { return scanned().error; }
    /// For a rejected text, the part before the error.
    const Value& root() const { return scanned().root; }

    /// Looked up as the library does.
    const Value* find(const Path& path) const;
    const Member* findMember(const Path& path) const;

    Place place(std::size_t offset) const;
    std::size_t lineCount() const { return m_lineStarts.size(); }
    /// A line without its line end; the first line is 1.
    std::string_view line(std::size_t number) const;
    std::size_t lineStart(std::size_t number) const { return m_lineStarts.at(number - 1); }

private:
    struct Scanned {
        Value root;
        std::optional<SyntaxError> error;
    };

    const Scanned& scanned() const;
    const Member* memberOf(const Value& object, std::string_view name) const;
    const Value* child(const Value& value, const std::string& step) const;

    std::string m_text;
    Limits m_limits;
    std::vector<std::size_t> m_lineStarts;
    /// Parsed on first use: most explanations need one of the three files only.
    mutable std::optional<Scanned> m_scanned;
    /// Looking up all members of an object by name then takes linear time. Moving the document
    /// keeps the addresses of all values except the root.
    mutable std::unordered_map<const Value*, std::unordered_map<std::string_view, const Member*>>
        m_members;
    /// The last offset of `place`, and the characters before it in its line: offsets mostly ascend.
    mutable std::size_t m_countedTo = 0;
    mutable std::size_t m_characters = 0;
};

} // namespace sysconfctl::located
