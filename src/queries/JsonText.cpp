// SPDX-License-Identifier: Apache-2.0
#include "queries/JsonText.h"

#include "queries/Utf8.h"

#include <json/writer.h>

#include <cstdio>

namespace Quarncommon::queries {

namespace {

void appendEscape(std::string& text, unsigned int unit) {
    char escape[sizeof "\\uffff"];
    std::snprintf(escape, sizeof escape, "\\u%04x", unit & 0xffffU);
    text += escape;
}

void appendEscaped(std::string& text, const Character& character) {
    const auto code = static_cast<unsigned int>(character.valid ? character.code : 0xfffd);
    if (code < 0x10000) {
        appendEscape(text, code);
        return;
    }
    appendEscape(text, 0xd800 + ((code - 0x10000) >> 10U));
    appendEscape(text, 0xdc00 + ((code - 0x10000) & 0x3ffU));
}

} // namespace

std::string jsonText(const Json::Value& value, const char* indentation) {
    Json::StreamWriterBuilder builder;
    builder["indentation"] = indentation;
    // Writes "name": value, without a blank before the colon.
    builder["enableYAMLCompatibility"] = *indentation != '\0';
    // Otherwise jsoncpp decodes UTF-8 itself, and takes any byte for a continuation byte.
    builder["emitUTF8"] = true;
    const std::string written = Json::writeString(builder, value);
    std::string text;
    text.reserve(written.size());
    // Strings only have other characters than printable ones of ASCII, and line feeds.
    for (std::string_view rest = written; !rest.empty();) {
        const Character character = frontCharacter(rest);
        if (character.valid && character.code < 0x7f) {
            text += rest.front();
        } else {
            appendEscaped(text, character);
        }
        rest.remove_prefix(character.length);
    }
    return text;
}

} // namespace Quarncommon::queries
