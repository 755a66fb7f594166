// SPDX-License-Identifier: Apache-2.0
#include "config/JsonFiles.h"

#include <JsonReader.h>

#include <algorithm>
#include <string_view>

namespace Quarncommon::config {

namespace {

/// A text with a NUL byte is incomplete.
template <typename Parse>
ReadResult readAndParse(const std::string& path, TextPlace* fault, Parse parse) {
    FileText text;
    const ReadResult read = readWhole(path, text);
    if (read && (text.endsWithNul() || !parse(text))) {
        if (fault != nullptr) {
            *fault = faultIn(text);
        }
        return ReadResult::Outcome::Malformed;
    }
    return read;
}

} // namespace

#ifdef SYSCONFREADER_WITH_DOCUMENT
TextPlace faultIn(const FileText& text) {
    const std::size_t offset = Document::errorOffset(text.data(), text.length());
    if (offset > text.length()) {
        return {};
    }
    const std::string_view before(text.data(), offset);
    const std::size_t lineStart = before.rfind('\n') + 1; // npos + 1 is 0
    const auto isCharacter = [](char c) {
        return (static_cast<unsigned char>(c) & 0xC0U) != 0x80U;
    };
    return {static_cast<unsigned int>(1 + std::count(before.begin(), before.end(), '\n')),
            static_cast<unsigned int>(
                1 + std::count_if(before.begin() + lineStart, before.end(), isCharacter))};
}
#else
TextPlace faultIn(const FileText& /*text*/) {
    return {};
}
#endif

ReadResult readJsonFile(const std::string& path, Json::Value& value) {
    return readAndParse(path, nullptr, [&](const FileText& text) {
        return JsonReader(false).parse(std::string(text.data(), text.length()), value);
    });
}

ReadResult readJsonFile(const std::string& path, Document& document, TextPlace* fault) {
    return readAndParse(path, fault, [&](const FileText& text) {
        return document.read(text.data(), text.length());
    });
}

#ifndef SYSCONFREADER_WITH_DOCUMENT
bool Document::read(const char* text, std::size_t length) {
    return JsonReader(false).parse(std::string(text, length), m_tree);
}
#endif

} // namespace Quarncommon::config
