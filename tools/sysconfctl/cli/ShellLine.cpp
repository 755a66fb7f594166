// SPDX-License-Identifier: Apache-2.0
#include "cli/ShellLine.h"

namespace sysconfctl {
namespace {

class LineReader {
public:
    LineReader(std::string_view line, std::string_view breaks) : m_rest(line), m_breaks(breaks) {}

    ShellLine read() {
        while (!m_rest.empty()) {
            step(take());
        }
        m_line.redirection = m_redirected;
        m_line.words.push_back(m_word);
        return std::move(m_line);
    }

private:
    char take() {
        const char c = m_rest.front();
        m_rest.remove_prefix(1);
        return c;
    }

    void step(char c) {
        switch (m_line.quote) {
        case '\'':
            return c == '\'' ? close() : append(c);
        case '"':
            return c == '"' ? close() : c == '\\' ? escape("\"\\$`") : append(c);
        case '$':
            return c == '\'' ? close() : c == '\\' ? escape("'\\\"") : append(c);
        default:
            return stepOutside(c);
        }
    }

    void stepOutside(char c) {
        constexpr std::string_view kEnds = " \t\n&;|()";
        if (c == '\\') {
            if (!m_rest.empty()) {
                append(take());
            }
        } else if (c == '\'' || c == '"') {
            open(c);
        } else if (c == '$' && m_rest.starts_with('\'')) {
            take();
            open('$');
        } else if (c == '<' || c == '>') {
            redirect();
        } else if (kEnds.find(c) != std::string_view::npos) {
            end();
        } else {
            append(c);
            if (m_breaks.find(c) != std::string_view::npos) {
                m_line.kept = m_word.size();
            }
        }
    }

    void append(char c) {
        m_word += c;
        m_begun = true;
    }

    /// Inside quotes a backslash is literal before most characters.
    void escape(std::string_view special) {
        if (m_rest.empty() || special.find(m_rest.front()) == std::string_view::npos) {
            append('\\');
        } else {
            append(take());
        }
    }

    void open(char quote) {
        m_line.quote = quote;
        m_begun = true;
        m_keptOutside = m_line.kept;
        m_line.kept = m_word.size();
    }

    void close() {
        m_line.quote = 0;
        m_line.kept = m_keptOutside;
    }

    void redirect() {
        const bool number = m_word.find_first_not_of("0123456789") == std::string::npos;
        if (!number) {
            end();
        }
        drop();
        m_redirected = true;
    }

    void end() {
        if (!m_begun) {
            return;
        }
        if (!m_redirected) {
            m_line.words.push_back(m_word);
        }
        m_redirected = false;
        drop();
    }

    void drop() {
        m_word.clear();
        m_begun = false;
        m_line.kept = 0;
    }

    std::string_view m_rest;
    std::string_view m_breaks;
    ShellLine m_line;
    std::string m_word;
    std::size_t m_keptOutside = 0;
    bool m_begun = false;
    bool m_redirected = false;
};

bool isSafe(char c) {
    constexpr std::string_view kSafe = "_-./,+%:=@";
    const auto byte = static_cast<unsigned char>(c);
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
           byte >= 0x80 || kSafe.find(c) != std::string_view::npos;
}

/// Inside double quotes "!" triggers history expansion even after a backslash.
std::string quoted(char c, char quote) {
    const std::string escaped = {'\\', c};
    const std::string itself = {c};
    switch (quote) {
    case '\'':
        return c == '\'' ? "'\\''" : itself;
    case '"':
        return c == '!'                                                       ? "\"'!'\""
               : std::string_view("\"\\$`").find(c) != std::string_view::npos ? escaped
                                                                              : itself;
    case '$':
        return c == '\'' || c == '\\' ? escaped : itself;
    default:
        return isSafe(c) ? itself : escaped;
    }
}

} // namespace

ShellLine readShellLine(std::string_view line, std::string_view breaks) {
    return LineReader(line, breaks).read();
}

std::string shellQuoted(std::string_view text, char quote) {
    std::string result;
    for (const char c : text) {
        result += quoted(c, quote);
    }
    return result;
}

} // namespace sysconfctl
