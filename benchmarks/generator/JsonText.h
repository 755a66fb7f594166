#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace generator {

/// How a JSON text is laid out: every value on a line of its own, two columns a level, or without
/// any white space.
enum class Layout { Indented, Compact };

/// A JSON text in the order in which it is told; jsoncpp would sort the members.
class JsonText {
public:
    explicit JsonText(Layout layout) : m_layout(layout) {}

    JsonText& object() { return open('{'); }
    JsonText& array() { return open('['); }
    /// Ends the innermost object or array.
    JsonText& end();
    /// The name of the member whose value comes next; needs no escapes.
    JsonText& name(std::string_view name);
    /// A text; needs no escapes, or has them already.
    JsonText& text(std::string_view text) { return value('"' + std::string(text) + '"'); }
    JsonText& number(long number) { return value(std::to_string(number)); }
    /// A literal or a number as it stands.
    JsonText& value(std::string_view value);

    /// The text, complete once everything has been ended.
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
