// SPDX-License-Identifier: Apache-2.0
#include "support/Queries.h"

#include <json/writer.h>

#include <iomanip>
#include <locale>
#include <sstream>

namespace queries {

namespace {

std::string jsonText(const Json::Value& value) {
    Json::StreamWriterBuilder builder;
    builder["indentation"] = "";
    return Json::writeString(builder, value);
}

} // namespace

std::string Outputs::toText() const {
    std::ostringstream all;
    // Tests change the global locale.
    all.imbue(std::locale::classic());
    all << number << ' ' << std::quoted(text) << ' ' << std::quoted(text2);
    for (const std::string& one : list) {
        all << ' ' << std::quoted(one);
    }
    for (const auto& [key, value] : byNumber) {
        all << ' ' << key << '=' << std::quoted(value);
    }
    // A call adds a thousand empty southbound keys, of which only the number is printed.
    all << ' ' << byTag.size();
    for (const auto& [key, value] : byTag) {
        if (!value.empty() || !key.starts_with("southbound")) {
            all << ' ' << std::quoted(key) << '=' << std::quoted(value);
        }
    }
    for (const auto& [key, values] : byNode) {
        all << ' ' << std::quoted(key) << ':';
        for (const std::string& value : values) {
            all << std::quoted(value) << ',';
        }
    }
    all << ' ' << jsonText(tree);
    for (const auto& [key, value] : trees) {
        all << ' ' << std::quoted(key) << '=' << jsonText(value);
    }
    return all.str();
}

} // namespace queries
