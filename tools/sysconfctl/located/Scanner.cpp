// SPDX-License-Identifier: Apache-2.0
#include "located/Scanner.h"

#include <algorithm>
#include <array>
#include <utility>

namespace sysconfctl::located {
namespace {

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

void appendUtf8(std::string& text, unsigned code) {
    const auto put = [&](unsigned byte) { text += static_cast<char>(byte); };
    if (code < 0x80) {
        put(code);
    } else if (code < 0x800) {
        put(0xc0U | (code >> 6U));
        put(0x80U | (code & 0x3fU));
    } else if (code < 0x10000) {
        put(0xe0U | (code >> 12U));
        put(0x80U | ((code >> 6U) & 0x3fU));
        put(0x80U | (code & 0x3fU));
    } else {
        put(0xf0U | (code >> 18U));
        put(0x80U | ((code >> 12U) & 0x3fU));
        put(0x80U | ((code >> 6U) & 0x3fU));
        put(0x80U | (code & 0x3fU));
    }
}

bool isHighSurrogate(unsigned code) {
    return code >= 0xd800 && code < 0xdc00;
}

bool isLowSurrogate(unsigned code) {
    return code >= 0xdc00 && code < 0xe000;
}

class Scanner {
public:
    Scanner(std::string_view text, Limits limits) : m_text(text), m_limits(limits) {}

    void scanAll(Value& root) {
        if (m_limits.length != 0 && m_text.size() > m_limits.length) {
            fail("the file is too large to be read", "");
        }
        blanks();
        if (atEnd()) {
            fail("the file is empty", "an empty file does not load: write at least {}");
        }
        value(root);
        blanks();
        if (!atEnd()) {
            fail(peek() == '\0' ? "there is a NUL byte after the end of the document"
                                : "there is text after the end of the document",
                 "remove what follows the document's last bracket");
        }
    }

    SyntaxError error;

    struct Refused {};

private:
    [[noreturn]] void fail(std::string sentence, std::string hint) {
        failAt(m_at, std::move(sentence), std::move(hint));
    }

    [[noreturn]] void failAt(std::size_t offset, std::string sentence, std::string hint) {
        error = {offset, std::move(sentence), std::move(hint), m_path};
        throw Refused{};
    }

    bool atEnd() const { return m_at == m_text.size(); }
    char peek() const { return m_text[m_at]; }
    bool at(char c) const { return !atEnd() && peek() == c; }

    bool take(char c) {
        const bool taken = at(c);
        m_at += taken ? 1 : 0;
        return taken;
    }

    void blanks() { m_at = std::min(m_text.find_first_not_of(" \t\r\n", m_at), m_text.size()); }

    void value(Value& into) {
        into.begin = m_at;
        into.end = m_at;
        if (atEnd()) {
            fail("the file ends where a value is expected", "");
        }
        switch (peek()) {
        case '{':
            object(into);
            break;
        case '[':
            array(into);
            break;
        case '"':
            into.kind = Kind::String;
            into.text = string();
            break;
        case 't':
            word(into, "true", Kind::Boolean);
            break;
        case 'f':
            word(into, "false", Kind::Boolean);
            break;
        case 'n':
            word(into, "null", Kind::Null);
            break;
        default:
            if (peek() != '-' && !isDigit(peek())) {
                noValue();
            }
            number(into);
        }
        into.end = m_at;
    }

    [[noreturn]] void noValue() {
        const char c = peek();
        if (m_text.substr(m_at).starts_with("\xef\xbb\xbf")) {
            fail("a byte-order mark is not allowed here", "save the file without one");
        }
        if (c == '/' || c == '#') {
            fail("a comment is not allowed here", "JSON has no comments: remove it");
        }
        if (c == '\'') {
            fail("a text is in single quotes", "write it in double quotes");
        }
        if (c == '}' || c == ']') {
            fail("a value is missing here", "remove the comma before it, or add a value");
        }
        if (c == '\0') {
            fail("a NUL byte is not allowed here", "remove it");
        }
        if (c == '+' || c == '.') {
            fail("a number cannot begin like this", "write 0.5 or 5");
        }
        fail("a value is expected here", "texts are written in double quotes");
    }

    void word(Value& into, std::string_view expected, Kind kind) {
        if (!m_text.substr(m_at).starts_with(expected)) {
            fail("a value is expected here", "texts are written in double quotes");
        }
        m_at += expected.size();
        into.kind = kind;
        into.text = expected;
    }

    void digits(const char* sentence) {
        if (atEnd() || !isDigit(peek())) {
            fail(sentence, "");
        }
        while (!atEnd() && isDigit(peek())) {
            ++m_at;
        }
    }

    void number(Value& into) {
        into.kind = Kind::Number;
        const std::size_t begin = m_at;
        take('-');
        if (take('0')) {
            if (!atEnd() && isDigit(peek())) {
                failAt(begin, "a number begins with 0", "remove the leading zero");
            }
        } else {
            digits("a digit is expected here");
        }
        if (take('.')) {
            digits("a digit is expected after the decimal point");
        }
        if (at('e') || at('E')) {
            ++m_at;
            if (!take('+')) {
                take('-');
            }
            digits("a digit is expected in the exponent");
        }
        into.text = m_text.substr(begin, m_at - begin);
    }

    unsigned hexadecimal(std::size_t escape) {
        unsigned code = 0;
        for (int i = 0; i < 4; ++i) {
            constexpr std::string_view kDigits = "0123456789abcdefABCDEF";
            const std::size_t digit = atEnd() ? std::string_view::npos : kDigits.find(peek());
            if (digit == std::string_view::npos) {
                failAt(escape, "\\u should be followed by four hexadecimal digits", "");
            }
            code = code * 16 + static_cast<unsigned>(digit < 16 ? digit : digit - 6);
            ++m_at;
        }
        return code;
    }

    void unicode(std::string& text, std::size_t escape) {
        unsigned code = hexadecimal(escape);
        const std::size_t next = m_at;
        if (isHighSurrogate(code) && m_text.substr(m_at).starts_with("\\u")) {
            m_at += 2;
            const unsigned low = hexadecimal(next);
            if (isLowSurrogate(low)) {
                code = 0x10000 + ((code - 0xd800) << 10U) + (low - 0xdc00);
            } else {
                m_at = next;
            }
        }
        appendUtf8(text, code);
    }

    void escape(std::string& text) {
        const std::size_t begin = m_at++;
        constexpr std::string_view kLetters = "\"\\/bfnrt";
        constexpr std::string_view kMeanings = "\"\\/\b\f\n\r\t";
        if (take('u')) {
            unicode(text, begin);
            return;
        }
        const std::size_t letter = atEnd() ? std::string_view::npos : kLetters.find(peek());
        if (letter == std::string_view::npos) {
            failAt(begin, "this backslash does not begin a valid escape",
                   "write a backslash as \\\\");
        }
        text += kMeanings[letter];
        ++m_at;
    }

    std::string string() {
        const std::size_t begin = m_at++;
        std::string text;
        while (!take('"')) {
            if (atEnd()) {
                failAt(begin, "this text is not closed", "close it with a double quote");
            }
            const char c = peek();
            if (c == '\n' || c == '\r') {
                failAt(begin, "this text is not closed on its line",
                       "close it with a double quote");
            }
            if (static_cast<unsigned char>(c) < 0x20) {
                fail("a text contains a control character", "write it as an escape, such as \\t");
            }
            if (c == '\\') {
                escape(text);
            } else {
                text += c;
                ++m_at;
            }
        }
        return text;
    }

    void open() {
        if (m_limits.nesting != 0 && m_open == m_limits.nesting) {
            fail("too many arrays and objects are open here",
                 "at most " + std::to_string(m_limits.nesting) + " may be nested");
        }
        ++m_open;
        ++m_at;
        blanks();
    }

    /// Returns whether another element or member follows.
    bool more(char closing, const char* what) {
        blanks();
        if (take(closing)) {
            --m_open;
            return false;
        }
        if (!take(',')) {
            if (atEnd()) {
                fail(std::string("the file ends inside an ") + what,
                     std::string("a \"") + closing + "\" is missing, or the file is cut off");
            }
            if (peek() == '/' || peek() == '#') {
                fail("a comment is not allowed here", "JSON has no comments: remove it");
            }
            const bool other = peek() == '}' || peek() == ']';
            fail(std::string("a \",\" or \"") + closing + "\" is expected here",
                 other ? "the brackets do not match" : "a comma is missing before this");
        }
        blanks();
        return true;
    }

    void array(Value& into) {
        into.kind = Kind::Array;
        open();
        if (take(']')) {
            --m_open;
            return;
        }
        do {
            m_path.push_back(std::to_string(into.elements.size()));
            value(into.elements.emplace_back());
            m_path.pop_back();
        } while (more(']', "array"));
    }

    void object(Value& into) {
        into.kind = Kind::Object;
        open();
        if (take('}')) {
            --m_open;
            return;
        }
        do {
            member(into);
        } while (more('}', "object"));
    }

    void member(Value& into) {
        if (!at('"')) {
            noName();
        }
        const std::size_t begin = m_at;
        std::string name = string();
        m_path.push_back(name);
        Member& read = into.members.emplace_back();
        read.name = std::move(name);
        read.nameBegin = begin;
        read.nameEnd = m_at;
        read.value.begin = read.value.end = m_at;
        blanks();
        if (!take(':')) {
            fail("a \":\" is expected between a member's name and its value", "");
        }
        blanks();
        value(read.value);
        m_path.pop_back();
    }

    [[noreturn]] void noName() {
        if (atEnd()) {
            fail("the file ends inside an object", "a \"}\" is missing, or the file is cut off");
        }
        if (peek() == '}') {
            fail("a member is missing here", "remove the comma before it");
        }
        if (peek() == '/' || peek() == '#') {
            fail("a comment is not allowed here", "JSON has no comments: remove it");
        }
        fail("a member's name is expected here", "names are written in double quotes");
    }

    std::string_view m_text;
    Limits m_limits;
    std::size_t m_at = 0;
    std::size_t m_open = 0;
    Path m_path;
};

} // namespace

std::optional<SyntaxError> scan(std::string_view text, Limits limits, Value& root) {
    Scanner scanner(text, limits);
    try {
        scanner.scanAll(root);
        return std::nullopt;
    } catch (const Scanner::Refused&) {
        return std::move(scanner.error);
    }
}

} // namespace sysconfctl::located
