// SPDX-License-Identifier: Apache-2.0
#include "map/Picture.h"

#include "render/Text.h"

#include <fmt/format.h>

namespace sysconfctl {
namespace {

std::string dotLabel(const std::string& line) {
    std::string text;
    for (const char c : escaped(line)) {
        switch (c) {
        case '"':
            text += "\\\"";
            break;
        case '\\':
            text += "\\\\";
            break;
        case '&':
            text += "&amp;";
            break;
        default:
            text += c;
        }
    }
    return text;
}

std::string dotBox(const Box& drawn, const char* indent) {
    std::string lines;
    for (const std::string& line : drawn.lines) {
        lines += dotLabel(line) + "\\l";
    }
    return fmt::format("{}{} [label=\"{}\"{}];\n", indent, drawn.name, lines,
                       drawn.emphasised ? ", penwidth=2, fillcolor=\"#fff3c4\"" : "");
}

} // namespace

std::string dot(const Picture& picture) {
    std::string text = "digraph deployment {\n"
                       "  rankdir=LR;\n"
                       "  node [shape=box, style=\"rounded,filled\", fillcolor=\"#ffffff\", "
                       "fontname=\"Helvetica\", fontsize=10];\n"
                       "  edge [fontname=\"Helvetica\", fontsize=9];\n"
                       "  graph [fontname=\"Helvetica\", fontsize=11, style=rounded, "
                       "color=\"#888888\"];\n";
    text += dotBox(picture.process, "  ");
    for (const Group& tenancy : picture.tenancies) {
        text += fmt::format("  subgraph cluster_{} {{\n    label=\"{}\";\n", tenancy.name,
                            dotLabel(tenancy.title));
        for (const Box& drawn : tenancy.boxes) {
            text += dotBox(drawn, "    ");
        }
        text += "  }\n";
    }
    for (const Arrow& arrow : picture.arrows) {
        text += fmt::format("  {} -> {} [label=\"{}\"{}];\n", arrow.from, arrow.to,
                            dotLabel(arrow.label), arrow.dashed ? ", style=dashed" : "");
    }
    return text + "}\n";
}

} // namespace sysconfctl
