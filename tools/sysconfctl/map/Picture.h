// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "deployment/Cluster.h"

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

namespace sysconfctl {

/// No text of a picture is escaped: each renderer escapes what it writes.
struct Box {
    /// Letters and digits only, unlike the ids of nodes.
    std::string name;
    std::vector<std::string> lines;
    bool emphasised = false;
    std::string id = {};
};

struct Group {
    std::string name;
    std::string title;
    std::vector<Box> boxes;
    std::string tenancy = {};
};

struct Arrow {
    std::string from;
    std::string to;
    std::string label;
    bool dashed = false;
};

struct Picture {
    std::vector<Group> tenancies;
    Box process;
    std::vector<Arrow> arrows;
};

Picture pictureOf(const Cluster& cluster);

std::string dot(const Picture& picture);
std::string mermaid(const Picture& picture);

std::string pictureTable(const Picture& picture, std::size_t width, bool color);
/// Tab-separated lines: "node", tenancy, id and the other lines of the box for each box, then
/// "arrow", from, label, to for each arrow.
std::string picturePlain(const Picture& picture);
/// {"schemaVersion", "process", "tenancies": [{"tenancy", "nodes": [{"name", "id", "here",
/// "lines"}]}], "arrows": [{"from", "to", "label"}]}; arrows go from name to name.
std::string pictureJson(const Picture& picture);

} // namespace sysconfctl
