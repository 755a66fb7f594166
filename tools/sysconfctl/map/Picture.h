#pragma once

#include "deployment/Cluster.h"

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
};

struct Group {
    std::string name;
    std::string title;
    std::vector<Box> boxes;
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

} // namespace sysconfctl
