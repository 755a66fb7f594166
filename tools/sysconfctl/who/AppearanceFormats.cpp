// SPDX-License-Identifier: Apache-2.0
#include "who/Appearances.h"

#include "explain/Screen.h"
#include "render/Color.h"
#include "render/Json.h"
#include "render/Text.h"

namespace sysconfctl {

std::string appearanceTable(const Appearances& found, std::size_t width, bool color) {
    if (found.none()) {
        return {};
    }
    std::vector<ScreenRow> rows;
    for (const Appearance& one : found.places) {
        rows.push_back({false, std::string(one.kind), escaped(one.sentence), {}});
        if (one.place) {
            rows.back().places.push_back(one.place->shown);
        }
    }
    for (const AppearanceInAnswer& one : found.answers) {
        const std::string label = one.reply.label();
        rows.push_back({false, "answer", one.part.empty() ? label : label + ": " + one.part, {}});
    }
    return painted(escaped(found.word), Paint::Bold, color) + '\n' +
           screenRows(rows, {width, color, false}, Paint::Green);
}

std::string appearancePlain(const Appearances& found) {
    std::string text;
    for (const Appearance& one : found.places) {
        text += joined({std::string(one.kind), escaped(one.sentence),
                        one.place ? one.place->shown : ""},
                       "\t") +
                '\n';
    }
    for (const AppearanceInAnswer& one : found.answers) {
        text += joined({"answer", one.reply.label(), one.part}, "\t") + '\n';
    }
    return text;
}

std::string appearanceJson(const Appearances& found) {
    Json::Value value;
    value["schemaVersion"] = kSchemaVersion;
    value["word"] = found.word;
    value["places"] = Json::Value(Json::arrayValue);
    for (const Appearance& one : found.places) {
        Json::Value row;
        row["kind"] = std::string(one.kind);
        row["text"] = one.sentence;
        if (one.place) {
            addPlace(row, *one.place);
        }
        if (!one.node.empty()) {
            row["node"] = one.node;
        }
        if (one.kind == "entry") {
            row["entry"] = one.entry;
            row["address"] = one.address;
            row["tags"] = Json::Value(Json::arrayValue);
            for (const std::string& tag : one.tags) {
                row["tags"].append(tag);
            }
        }
        value["places"].append(row);
    }
    value["answers"] = Json::Value(Json::arrayValue);
    for (const AppearanceInAnswer& one : found.answers) {
        value["answers"].append(toJson(one.reply));
    }
    return indentedJson(value);
}

} // namespace sysconfctl
