// SPDX-License-Identifier: Apache-2.0
#include "generator/JsonText.h"

namespace generator {

JsonText& JsonText::open(char start) {
    separate();
    m_text += start;
    m_open.push_back({start == '{' ? '}' : ']', true});
    return *this;
}

JsonText& JsonText::end() {
    const Container ended = m_open.back();
    m_open.pop_back();
    if (!ended.empty) {
        newLine();
    }
    m_text += ended.end;
    return *this;
}

JsonText& JsonText::name(std::string_view name) {
    separate();
    m_text += '"';
    m_text += name;
    m_text += m_layout == Layout::Indented ? "\": " : "\":";
    m_named = true;
    return *this;
}

JsonText& JsonText::value(std::string_view value) {
    separate();
    m_text += value;
    return *this;
}

void JsonText::separate() {
    if (m_named) {
        m_named = false;
        return;
    }
    if (m_open.empty()) {
        return;
    }
    if (!m_open.back().empty) {
        m_text += ',';
    }
    m_open.back().empty = false;
    newLine();
}

void JsonText::newLine() {
    if (m_layout == Layout::Indented) {
        m_text += '\n';
        m_text.append(2 * m_open.size(), ' ');
    }
}

} // namespace generator
