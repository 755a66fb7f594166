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
    /// Ends the innermost object or array.
    JsonText& end();
    /// The name of the next member; must need no escapes.
    JsonText& name(std::string_view name);
    /// A string; must need no escapes, or have them already.
    JsonText& text(std::string_view text) { return value('"' + std::string(text) + '"'); }
    JsonText& number(long number) { return value(std::to_string(number)); }
    /// A literal or a number, verbatim.
    JsonText& value(std::string_view value);

    /// The text; complete after every object and array has been ended.
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
