// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "rules/Json.h"
#include "rules/Trace.h"

#include <config/ConfigDocument.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

class TraceText : public Quarncommon::rules::Trace {
public:
    using Lines = std::vector<std::string>;

    void report(const Quarncommon::rules::TraceEvent& event) override;

    Lines lines;
};

/// The events up to an exception. Expects the same ones for a tree and for a document.
template <typename Rule>
TraceText::Lines traced(const std::string& text, Rule rule) {
    namespace rules = Quarncommon::rules;
    const auto linesOf = [&](const rules::Node& root) {
        TraceText trace;
        try {
            rule(rules::TracedNode(root, trace));
        } catch (const Json::Exception&) {
            trace.lines.emplace_back("thrown");
        }
        return trace.lines;
    };
    using Quarncommon::config::Document;
    const std::string padded = text + std::string(Document::kPadding, ' ');
    Document document;
    EXPECT_TRUE(document.read(padded.data(), text.size())) << text;
    const Json::Value tree = json(text);
    const TraceText::Lines lines = linesOf(rules::Node(tree));
    EXPECT_EQ(linesOf(document.root()), lines) << text;
    return lines;
}
