// SPDX-License-Identifier: Apache-2.0
#include "located/Document.h"

#include "located/Scanner.h"

#ifdef SYSCONFREADER_WITH_DOCUMENT
#include <JsonReader.h>
#endif

#include <algorithm>
#include <charconv>
#include <utility>

namespace sysconfctl::located {
namespace {

const Value* element(const Value& array, const std::string& step) {
    std::size_t index = 0;
    const char* const end = step.data() + step.size();
    const auto [stop, error] = std::from_chars(step.data(), end, index);
    const bool found = error == std::errc() && stop == end && index < array.elements.size();
    return found ? &array.elements[index] : nullptr;
}

} // namespace

const Member* Value::member(std::string_view name) const {
    const auto found = std::find_if(members.rbegin(), members.rend(),
                                    [&](const Member& member) { return member.name == name; });
    return found != members.rend() ? &*found : nullptr;
}

std::string pointer(const Path& path) {
    std::string text;
    for (const std::string& step : path) {
        text += '/';
        for (const char c : step) {
            if (c == '~') {
                text += "~0";
            } else if (c == '/') {
                text += "~1";
            } else {
                text += c;
            }
        }
    }
    return text;
}

Limits libraryLimits() {
#ifdef SYSCONFREADER_WITH_DOCUMENT
    return {JsonReader::kNestingLimit, JsonReader::kTextLimit};
#else
    return {};
#endif
}

Document::Document(std::string text, Limits limits) : m_text(std::move(text)), m_limits(limits) {
    m_lineStarts.push_back(0);
    for (std::size_t at = 0; (at = m_text.find('\n', at)) != std::string::npos;) {
        m_lineStarts.push_back(++at);
    }
}

const Document::Scanned& Document::scanned() const {
    if (!m_scanned) {
        m_scanned.emplace();
        m_scanned->error = scan(m_text, m_limits, m_scanned->root);
    }
    return *m_scanned;
}

const Member* Document::memberOf(const Value& object, std::string_view name) const {
    constexpr std::size_t kFew = 32;
    if (object.members.size() <= kFew) {
        return object.member(name);
    }
    auto& byName = m_members[&object];
    if (byName.empty()) {
        for (const Member& member : object.members) {
            byName[member.name] = &member;
        }
    }
    const auto found = byName.find(name);
    return found != byName.end() ? found->second : nullptr;
}

const Value* Document::child(const Value& value, const std::string& step) const {
    if (value.kind == Kind::Array) {
        return element(value, step);
    }
    const Member* const member = memberOf(value, step);
    return member != nullptr ? &member->value : nullptr;
}

const Value* Document::find(const Path& path) const {
    const Value* value = &root();
    for (const std::string& step : path) {
        value = child(*value, step);
        if (value == nullptr) {
            return nullptr;
        }
    }
    return value;
}

const Member* Document::findMember(const Path& path) const {
    if (path.empty()) {
        return nullptr;
    }
    const Value* const owner = find({path.begin(), path.end() - 1});
    return owner != nullptr ? memberOf(*owner, path.back()) : nullptr;
}

Place Document::place(std::size_t offset) const {
    const auto next = std::upper_bound(m_lineStarts.begin(), m_lineStarts.end(), offset);
    const std::size_t start = *(next - 1);
    const std::size_t end = std::min(offset, m_text.size());
    if (m_countedTo < start || m_countedTo > end) {
        m_countedTo = start;
        m_characters = 0;
    }
    const std::string_view uncounted(m_text.data() + m_countedTo, end - m_countedTo);
    const auto continues = [](char c) { return (static_cast<unsigned char>(c) & 0xc0U) == 0x80U; };
    m_characters +=
        uncounted.size() -
        static_cast<std::size_t>(std::count_if(uncounted.begin(), uncounted.end(), continues));
    m_countedTo = end;
    return {static_cast<std::size_t>(next - m_lineStarts.begin()), m_characters + 1};
}

std::string_view Document::line(std::size_t number) const {
    const std::size_t start = m_lineStarts.at(number - 1);
    const std::size_t end = number < m_lineStarts.size() ? m_lineStarts[number] - 1 : m_text.size();
    std::string_view line = std::string_view(m_text).substr(start, end - start);
    line.remove_suffix(line.ends_with('\r') ? 1 : 0);
    return line;
}

} // namespace sysconfctl::located
