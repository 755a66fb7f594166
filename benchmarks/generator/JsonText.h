// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace generator {

/// Indented: one value per line, two columns per level. Compact: no white space.
enum class Layout { Indented, Compact };

/// Writes JSON with members in the order of the calls; jsoncpp would sort them.
class JsonText {
public:
    explicit JsonText(Layout layout) : m_layout(layout) {}

    JsonText& object() { return open('{'); }
    JsonText& array() { return open('['); }
    JsonText& end();
    /// Names and texts are inserted verbatim.
    JsonText& name(std::string_view name);
    JsonText& text(std::string_view text) { return value('"' + std::string(text) + '"'); }
    JsonText& number(long number) { return value(std::to_string(number)); }
    /// A literal or a number, verbatim.
    JsonText& value(std::string_view value);

    const std::string& str() const { return m_text; }

private:
    struct Container {
        char end;
        bool empty;
    };

    JsonText& open(char start);
    void separate();
    void newLine();

    Layout m_layout;
    std::string m_text;
    std::vector<Container> m_open;
    bool m_named = false;
};

} // namespace generator
