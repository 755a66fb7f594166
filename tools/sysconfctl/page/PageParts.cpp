// SPDX-License-Identifier: Apache-2.0
#include "page/Page.h"

#include "check/Report.h"
#include "deployment/CallerDirectory.h"
#include "explain/Reason.h"
#include "explain/Screen.h"
#include "render/Json.h"
#include "render/Markup.h"
#include "render/Plain.h"
#include "render/Text.h"

#include <fmt/format.h>

#include <optional>
#include <variant>

namespace sysconfctl {
namespace {

constexpr std::size_t kExcerptWidth = 100;

std::string element(const char* name, const std::string& text) {
    return text.empty() ? "" : fmt::format("<{}>{}</{}>\n", name, markupText(text), name);
}

std::string lines(const std::vector<std::string>& texts) {
    std::string html;
    for (const std::string& text : texts) {
        html += (html.empty() ? "" : "<br>") + markupText(text);
    }
    return html;
}

/// A place that does not depend on the working directory.
std::string placeText(const std::string& file, const located::Place& place) {
    return fmt::format("{}:{}:{}", pathOfCaller(file), place.line, place.column);
}

std::string placeText(const Finding& finding) {
    if (finding.file == nullptr) {
        return "environment";
    }
    return finding.offset
               ? placeText(finding.file->path, finding.file->document.place(*finding.offset))
               : pathOfCaller(finding.file->path);
}

std::string placeCode(const std::optional<ReasonPlace>& place, const char* before) {
    return place ? fmt::format("{}<code>{}</code>", before,
                               markupText(placeText(place->file, place->place)))
                 : "";
}

std::string findingItem(const Finding& finding, bool reveal) {
    std::string html = fmt::format("<li class=\"{0}\"><p><b>{0}</b> {1} <code>[{2}]</code></p>\n",
                                   nameOf(finding.severity), markupText(finding.sentence),
                                   markupText(finding.name));
    html += element("code", placeText(finding));
    // The lines are escaped already: markupText() would double their backslashes.
    const std::vector<std::string> shown = excerpt(finding, kExcerptWidth, reveal);
    html += shown.empty() ? "" : "<pre>" + escapedMarkup(joined(shown, "\n")) + "</pre>\n";
    for (const RelatedPlace& place : finding.related) {
        const located::Place at = place.file->document.place(place.offset);
        html +=
            fmt::format("<p>see <code>{}</code>: {}</p>\n",
                        markupText(placeText(place.file->path, at)), markupText(place.sentence));
    }
    for (const std::string& consequence : finding.consequences) {
        html += element("p", "so " + consequence);
    }
    html += finding.hint.empty() ? "" : element("p", "hint: " + finding.hint);
    return html + "</li>\n";
}

std::string addressCell(const Listed& listed) {
    std::string html;
    for (const Address& address : listed.addresses) {
        html += html.empty() ? "" : "<br>";
        html += fmt::format("<code>{}</code> {}",
                            markupText(address.ip.empty() ? "no address" : address.ip),
                            markupText(joined(address.tags, ", ")));
    }
    return html;
}

std::string nodeRow(const ClusterNode& node) {
    const Listed& listed = node.listing();
    return fmt::format("<tr{}><th scope=\"row\">{}</th><td>{}</td><td>{}</td><td>{}</td>"
                       "<td>{}</td><td>{}</td><td>{}</td></tr>\n",
                       node.isThis ? " class=\"this\"" : "",
                       markupText(node.id.empty() ? "(empty id)" : node.id),
                       markupText(listed.role), markupText(listed.tenancy), lines(node.marks()),
                       markupText(listed.hostTag), lines(node.lists()), addressCell(listed));
}

std::string answerCell(const Reply& reply) {
    if (const auto* const json = std::get_if<Json::Value>(&reply.answer.value);
        json != nullptr && !reply.error) {
        return "<details><summary>JSON</summary><pre>" + escapedMarkup(indentedJson(*json)) +
               "</pre></details>";
    }
    std::string html;
    for (const std::string& line : shownLines(reply)) {
        html += (html.empty() ? "" : "<br>") + escapedMarkup(line);
    }
    return html;
}

std::string stepItem(const Step& step) {
    return fmt::format("<li{}>{}{}</li>\n",
                       step.weight == Weight::Decisive ? " class=\"decides\"" : "",
                       markupText(step.sentence), placeCode(reasonPlaceOf(step), " "));
}

std::string reasonCell(const Explanation& explanation) {
    std::string html = markupText(explanation.verdict.sentence);
    if (!explanation.verdict.advice.empty()) {
        html += "<br><b>to do:</b> " + markupText(explanation.verdict.advice);
    }
    html += placeCode(reasonOf(explanation).place, "<br>");
    const std::vector<const Step*> steps = chosenSteps(explanation.steps, false);
    if (steps.empty()) {
        return html;
    }
    html += "<details><summary>steps</summary><ul>\n";
    for (const Step* const step : steps) {
        html += stepItem(*step);
    }
    html += "</ul>";
    if (const std::size_t more = explanation.steps.size() - steps.size(); more != 0) {
        html += fmt::format("<p>{} more: <code>sysconfctl explain {} -v</code></p>", more,
                            escapedMarkup(explanation.label()));
    }
    return html + element("p", momentSentence(explanation)) + "</details>";
}

} // namespace

std::string findingsSection(const PageContents& contents) {
    const CheckResult& checked = contents.checked;
    std::string html =
        fmt::format("<section id=\"findings\">\n<h2>Findings</h2>\n<p>{}, {}, {}</p>\n",
                    counted(countOf(checked, Severity::Error), "error", "errors"),
                    counted(countOf(checked, Severity::Warning), "warning", "warnings"),
                    counted(countOf(checked, Severity::Note), "note", "notes"));
    html += checked.findings.empty() ? "" : "<ul>\n";
    for (const Finding& finding : checked.findings) {
        html += findingItem(finding, contents.options.revealSecrets);
    }
    html += checked.findings.empty() ? "" : "</ul>\n";
    return html + "</section>\n";
}

std::string pictureSection(const PageContents& contents) {
    std::string html = "<section id=\"picture\">\n<h2>Picture</h2>\n";
    const std::size_t begin = contents.picture.find("<svg");
    html += begin == std::string::npos
                ? element("p", "no picture: " + contents.noPicture)
                : "<figure>\n" + contents.picture.substr(begin) + "</figure>\n";
    return html + "</section>\n";
}

std::string nodesSection(const PageContents& contents) {
    const std::vector<ClusterNode>& nodes = contents.cluster.nodes;
    std::string html = fmt::format(
        "<section id=\"nodes\">\n<h2>Nodes</h2>\n"
        "<p><label id=\"search\" hidden>Search <input type=\"search\"></label> "
        "<span id=\"matches\">{}</span></p>\n<div class=\"wide\"><table>\n"
        "<thead><tr><th>node</th><th>role</th><th>tenancy</th><th>marks</th><th>host tag</th>"
        "<th>lists</th><th>addresses and tags</th></tr></thead>\n<tbody>\n",
        counted(nodes.size(), "node", "nodes"));
    for (const ClusterNode& node : nodes) {
        html += nodeRow(node);
    }
    return html + "</tbody>\n</table></div>\n</section>\n";
}

std::string answersSection(const PageContents& contents) {
    std::string html = "<section id=\"answers\">\n<h2>Answers</h2>\n";
    std::string_view section;
    for (const Question& question : contents.prediction.allQuestions()) {
        if (question.query->section != section) {
            html += section.empty() ? "" : "</tbody></table></div>\n";
            section = question.query->section;
            html += fmt::format("<h3>{}</h3>\n<div class=\"wide\"><table><thead><tr><th>query</th>"
                                "<th>answer</th><th>reason</th></tr></thead><tbody>\n",
                                section);
        }
        const Explanation explanation = contents.prediction.explain(question);
        const Reply reply = evaluated(explanation, contents.options.revealSecrets);
        html += fmt::format("<tr><th scope=\"row\">{}</th><td class=\"{}\">{}</td><td>{}</td></tr>"
                            "\n",
                            escapedMarkup(explanation.label()),
                            reply.answer.isAnswered() ? "answer" : "none", answerCell(reply),
                            reasonCell(explanation));
    }
    html += section.empty() ? "" : "</tbody></table></div>\n";
    return html + "</section>\n";
}

} // namespace sysconfctl
