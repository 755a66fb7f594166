// SPDX-License-Identifier: Apache-2.0
#include "map/Picture.h"

#include "render/Text.h"

#include <fmt/format.h>

#include <iterator>

namespace sysconfctl {
namespace {

std::string mermaidLabel(const std::string& line) {
    constexpr std::string_view kSpecial = "\"#&;<>\\`*_~[]{}()|$";
    std::string text;
    for (const char c : escaped(line)) {
        if (kSpecial.find(c) != std::string_view::npos) {
            fmt::format_to(std::back_inserter(text), "#{};", static_cast<int>(c));
        } else {
            text += c;
        }
    }
    return text;
}

std::string mermaidBox(const Box& drawn, const char* indent) {
    std::vector<std::string> lines;
    for (const std::string& line : drawn.lines) {
        lines.push_back(mermaidLabel(line));
    }
    return fmt::format("{}{}[\"{}\"]\n", indent, drawn.name, joined(lines, "<br/>"));
}

} // namespace

std::string mermaid(const Picture& picture) {
    std::string text = "flowchart LR\n";
    text += mermaidBox(picture.process, "  ");
    for (const Group& tenancy : picture.tenancies) {
        text += fmt::format("  subgraph {}[\"{}\"]\n", tenancy.name, mermaidLabel(tenancy.title));
        for (const Box& drawn : tenancy.boxes) {
            text += mermaidBox(drawn, "    ");
        }
        text += "  end\n";
    }
    for (const Arrow& arrow : picture.arrows) {
        text += fmt::format("  {} {}|\"{}\"| {}\n", arrow.from, arrow.dashed ? "-.->" : "-->",
                            mermaidLabel(arrow.label), arrow.to);
    }
    text += "  classDef here stroke-width:3px,fill:#fff3c4\n  class process here\n";
    for (const Group& tenancy : picture.tenancies) {
        for (const Box& drawn : tenancy.boxes) {
            if (drawn.emphasised) {
                text += fmt::format("  class {} here\n", drawn.name);
            }
        }
    }
    return text;
}

} // namespace sysconfctl
