// SPDX-License-Identifier: Apache-2.0
#include "deployment/JsonValues.h"

#include <charconv>

namespace sysconfctl {

std::string kindOf(const Json::Value& value) {
    switch (value.type()) {
    case Json::nullValue:
        return "null";
    case Json::stringValue:
        return "a text";
    case Json::booleanValue:
        return "a boolean";
    case Json::arrayValue:
        return "an array";
    case Json::objectValue:
        return "an object";
    default:
        return value.isIntegral() ? "a number" : "a fraction or a number out of range";
    }
}

bool isScalar(const Json::Value& value) {
    return !value.isArray() && !value.isObject();
}

const Json::Value& valueAt(const Json::Value& root, const located::Path& path) {
    const Json::Value* value = &root;
    for (const std::string& step : path) {
        if (value->isObject()) {
            value = &(*value)[step];
        } else if (value->isArray()) {
            Json::ArrayIndex index = 0;
            const char* const end = step.data() + step.size();
            const auto [stop, error] = std::from_chars(step.data(), end, index);
            const bool found = error == std::errc() && stop == end && index < value->size();
            value = found ? &(*value)[index] : &Json::Value::nullSingleton();
        } else {
            return Json::Value::nullSingleton();
        }
    }
    return *value;
}

} // namespace sysconfctl
