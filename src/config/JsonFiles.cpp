// SPDX-License-Identifier: Apache-2.0
#include "config/JsonFiles.h"

#include <JsonReader.h>

#include <algorithm>
#include <limits>
#include <string_view>

namespace Quarncommon::config {

namespace {

constexpr std::size_t kUnknown = std::numeric_limits<std::size_t>::max();

template <typename Parse>
ReadResult readAndParse(const std::string& path, TextPlace* fault, Parse parse) {
    FileText text;
    const ReadResult read = readWhole(path, text);
    std::size_t errorOffset = kUnknown;
    if (read && !parse(text, errorOffset)) {
        if (fault != nullptr) {
            *fault = placeOf(errorOffset, text);
        }
        return ReadResult::Outcome::Malformed;
    }
    return read;
}

/// A text with a NUL byte is incomplete, but the platform's JsonReader may accept it.
bool parseTree(std::string_view text, Json::Value& value) {
    return !text.ends_with('\0') && JsonReader(false).parse(std::string(text), value);
}

} // namespace

TextPlace placeOf(std::size_t offset, const FileText& text) {
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

ReadResult readJsonFile(const std::string& path, Json::Value& value) {
    return readAndParse(path, nullptr, [&](const FileText& text, std::size_t& /*errorOffset*/) {
        return parseTree({text.data(), text.length()}, value);
    });
}

ReadResult readJsonFile(const std::string& path, Document& document, TextPlace* fault) {
    return readAndParse(path, fault, [&](const FileText& text, std::size_t& errorOffset) {
        return document.read(text.data(), text.length(), &errorOffset);
    });
}

#ifndef SYSCONFREADER_WITH_DOCUMENT
bool Document::read(const char* text, std::size_t length, std::size_t* /*errorOffset*/) {
    return parseTree({text, length}, m_tree);
}
#endif

} // namespace Quarncommon::config
