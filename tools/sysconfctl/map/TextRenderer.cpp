// SPDX-License-Identifier: Apache-2.0
#include "map/Picture.h"

#include "render/Grid.h"
#include "render/Json.h"
#include "render/Text.h"

#include <map>

namespace sysconfctl {
namespace {

std::map<std::string, std::string> shownNames(const Picture& picture) {
    std::map<std::string, std::string> names = {{picture.process.name, "process"}};
    for (const Group& tenancy : picture.tenancies) {
        for (const Box& box : tenancy.boxes) {
            names[box.name] = escaped(box.lines.front());
        }
    }
    return names;
}

std::map<std::string, Cell> tiesOf(const Picture& picture,
                                   const std::map<std::string, std::string>& names) {
    std::map<std::string, Cell> ties;
    for (const Arrow& arrow : picture.arrows) {
        if (arrow.from == picture.process.name) {
            ties[arrow.to].push_back("this process: " + escaped(picture.process.lines.back()));
        } else {
            ties[arrow.from].push_back(arrow.label + " " + names.at(arrow.to));
        }
    }
    return ties;
}

Cell escapedLines(const std::vector<std::string>& lines) {
    Cell cell;
    for (const std::string& line : lines) {
        cell.push_back(escaped(line));
    }
    return cell;
}

Json::Value toJson(const Box& box) {
    Json::Value value;
    value["name"] = box.name;
    value["id"] = box.id;
    value["here"] = box.emphasised;
    value["lines"] = Json::Value(Json::arrayValue);
    for (const std::string& line : box.lines) {
        value["lines"].append(line);
    }
    return value;
}

} // namespace

std::string pictureTable(const Picture& picture, std::size_t width, bool color) {
    auto ties = tiesOf(picture, shownNames(picture));
    std::vector<std::vector<Cell>> rows;
    for (const Group& tenancy : picture.tenancies) {
        for (const Box& box : tenancy.boxes) {
            rows.push_back({{tenancy.tenancy.empty() ? "-" : escaped(tenancy.tenancy)},
                            {escaped(box.lines.front())},
                            ties[box.name],
                            escapedLines({box.lines.begin() + 1, box.lines.end()})});
        }
    }
    return grid({{"TENANCY", 2}, {"NODE"}, {"TIES", 1, true}, {"ROLE AND ADDRESSES", 0, true}},
                std::move(rows), width, color);
}

std::string picturePlain(const Picture& picture) {
    const auto names = shownNames(picture);
    std::string text;
    for (const Group& tenancy : picture.tenancies) {
        for (const Box& box : tenancy.boxes) {
            text += "node\t" + escaped(tenancy.tenancy) + '\t' +
                    joined(escapedLines(box.lines), "\t") + '\n';
        }
    }
    for (const Arrow& arrow : picture.arrows) {
        text +=
            joined({"arrow", names.at(arrow.from), arrow.label, names.at(arrow.to)}, "\t") + '\n';
    }
    return text;
}

std::string pictureJson(const Picture& picture) {
    Json::Value value;
    value["schemaVersion"] = kSchemaVersion;
    value["process"] = toJson(picture.process);
    value["tenancies"] = Json::Value(Json::arrayValue);
    for (const Group& tenancy : picture.tenancies) {
        Json::Value group;
        group["tenancy"] = tenancy.tenancy;
        group["nodes"] = Json::Value(Json::arrayValue);
        for (const Box& box : tenancy.boxes) {
            group["nodes"].append(toJson(box));
        }
        value["tenancies"].append(group);
    }
    value["arrows"] = Json::Value(Json::arrayValue);
    for (const Arrow& arrow : picture.arrows) {
        Json::Value row;
        row["from"] = arrow.from;
        row["to"] = arrow.to;
        row["label"] = arrow.label;
        value["arrows"].append(row);
    }
    return indentedJson(value);
}

} // namespace sysconfctl
