#include "map/Picture.h"

#include "render/Grid.h"
#include "render/Json.h"
#include "render/Text.h"

#include <map>

namespace sysconfctl {
namespace {

/// What is written into a box at the top of the others' lists: the id of a node.
std::map<std::string, std::string> shownNames(const Picture& picture) {
    std::map<std::string, std::string> names = {{picture.process.name, "process"}};
    for (const Group& tenancy : picture.tenancies) {
        for (const Box& box : tenancy.boxes) {
            names[box.name] = box.lines.front();
        }
    }
    return names;
}

/// Arrows from a box, and the process on it.
Cell tiesOf(const Box& box, const Picture& picture,
            const std::map<std::string, std::string>& names) {
    Cell ties;
    for (const Arrow& arrow : picture.arrows) {
        if (arrow.from == box.name) {
            ties.push_back(arrow.label + " " + names.at(arrow.to));
        } else if (arrow.to == box.name && arrow.from == picture.process.name) {
            ties.push_back("this process: " + picture.process.lines.back());
        }
    }
    return ties;
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
    const auto names = shownNames(picture);
    std::vector<std::vector<Cell>> rows;
    for (const Group& tenancy : picture.tenancies) {
        for (const Box& box : tenancy.boxes) {
            rows.push_back({{tenancy.tenancy.empty() ? "-" : escaped(tenancy.tenancy)},
                            {box.lines.front()},
                            tiesOf(box, picture, names),
                            {box.lines.begin() + 1, box.lines.end()}});
        }
    }
    return grid({"TENANCY", "NODE", "TIES", "ROLE AND ADDRESSES"}, rows, width, color);
}

std::string picturePlain(const Picture& picture) {
    const auto names = shownNames(picture);
    std::string text;
    for (const Group& tenancy : picture.tenancies) {
        for (const Box& box : tenancy.boxes) {
            text += "node\t" + escaped(tenancy.tenancy) + '\t' + joined(box.lines, "\t") + '\n';
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
