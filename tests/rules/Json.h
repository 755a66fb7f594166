// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <json/reader.h>
#include <json/value.h>

#include <memory>
#include <stdexcept>
#include <string>

inline Json::Value json(const std::string& text) {
    Json::Value value;
    Json::CharReaderBuilder builder;
    std::string errors;
    const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
    if (!reader->parse(text.data(), text.data() + text.size(), &value, &errors)) {
        throw std::invalid_argument(errors + text);
    }
    return value;
}
