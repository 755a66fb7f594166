// SPDX-License-Identifier: Apache-2.0
#include "config/JsonFiles.h"

#include <JsonReader.h>

namespace Quarncommon::config {

namespace {

/// Reads the file and passes its text to `parse`. Refuses a text with a NUL byte: it is incomplete.
template <typename Parse>
ReadResult readAndParse(const std::string& path, Parse parse) {
    FileText text;
    const ReadResult::Outcome read = readWhole(path, text);
    if (read == ReadResult::Outcome::Parsed && (text.endsWithNul() || !parse(text))) {
        return ReadResult::Outcome::NotParsed;
    }
    return read;
}

} // namespace

ReadResult readJsonFile(const std::string& path, Json::Value& value) {
    return readAndParse(path, [&](const FileText& text) {
        return JsonReader(false).parse(std::string(text.data(), text.length()), value);
    });
}

ReadResult readJsonFile(const std::string& path, Document& document) {
    return readAndParse(
        path, [&](const FileText& text) { return document.read(text.data(), text.length()); });
}

#ifndef SYSCONFREADER_WITH_DOCUMENT
bool Document::read(const char* text, std::size_t length) {
    return JsonReader(false).parse(std::string(text, length), m_tree);
}
#endif

} // namespace Quarncommon::config
