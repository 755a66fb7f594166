#pragma once

#include "deployment/Cluster.h"

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

namespace sysconfctl {

/// A box of the picture, its lines escaped for a terminal but for no picture language yet.
struct Box {
    /// A word of letters and digits: ids of nodes may be anything.
    std::string name;
    std::vector<std::string> lines;
    bool emphasised = false;
    /// Of the node or process, unescaped.
    std::string id = {};
};

struct Group {
    std::string name;
    std::string title;
    std::vector<Box> boxes;
    /// Unescaped.
    std::string tenancy = {};
};

struct Arrow {
    std::string from;
    std::string to;
    std::string label;
    bool dashed = false;
};

/// The deployment as boxes in groups, with arrows between them: what every picture language draws.
struct Picture {
    std::vector<Group> tenancies;
    Box process;
    std::vector<Arrow> arrows;
};

Picture pictureOf(const Cluster& cluster);

std::string dot(const Picture& picture);
std::string mermaid(const Picture& picture);

/// The same in words.
std::string pictureTable(const Picture& picture, std::size_t width, bool color);
/// A line for each box: "node", tenancy, id and what is written below it, behind a tab each; and
/// one for each arrow: "arrow", from, label, to.
std::string picturePlain(const Picture& picture);
/// {"schemaVersion", "process", "tenancies": [{"tenancy", "nodes": [{"name", "id", "here",
/// "lines"}]}], "arrows": [{"from", "to", "label"}]}; arrows go from name to name.
std::string pictureJson(const Picture& picture);

} // namespace sysconfctl
