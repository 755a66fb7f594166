// SPDX-License-Identifier: Apache-2.0
#include "page/Page.h"

#include "page/PageAssets.h"
#include "render/Markup.h"
#include "render/Text.h"

#include <fmt/format.h>

namespace sysconfctl {
namespace {

std::string row(const char* name, const std::string& text) {
    return fmt::format("<dt>{}</dt><dd>{}</dd>\n", name, markupText(text.empty() ? "-" : text));
}

std::string fileRow(const SourceFile& file) {
    return fmt::format("<dt>{}</dt><dd><code>{}</code>{}</dd>\n", markupText(file.title),
                       markupText(file.path),
                       file.loads ? "" : " does not load: " + markupText(file.trouble()));
}

/// "Configuration report: alarm-1 on node-2"
std::string titleOf(const PageContents& contents) {
    const Cluster& cluster = contents.cluster;
    return fmt::format("{}: {}{}{}", kPageTitle,
                       cluster.instanceId.empty() ? "no process" : cluster.instanceId,
                       cluster.thisNodeId.empty() ? "" : " on ", cluster.thisNodeId);
}

std::string header(const PageContents& contents) {
    const Sources& sources = contents.prediction.sources();
    const Cluster& cluster = contents.cluster;
    std::string notices;
    for (const std::string& notice : contents.notices) {
        notices += "<p>" + escapedMarkup(notice) + "</p>\n";
    }
    const auto& pid = contents.options.pid;
    const std::string process =
        pid ? fmt::format("{} (process {})", cluster.instanceId, *pid) : cluster.instanceId;
    return "<header>\n<h1>" + markupText(kPageTitle) + "</h1>\n<dl>\n" + row("process", process) +
           row("node", cluster.thisNodeId) + row("answers for", cluster.floatNodeId) +
           row("tenancy", cluster.tenancy) +
           row("addresses of the host",
               joined({sources.hostAddresses.begin(), sources.hostAddresses.end()}, ", ")) +
           fileRow(sources.appConfig) + fileRow(sources.nodeList) +
           fileRow(sources.managerNodeList) + row("made", contents.time) +
           "</dl>\n<p>The answers are those of a process that starts at that time.</p>\n" +
           notices + "</header>\n";
}

} // namespace

std::string pageOf(const PageContents& contents) {
    std::string html = fmt::format(
        "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
        "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; "
        "style-src 'unsafe-inline'; script-src '{}'; base-uri 'none'; form-action 'none'\">\n"
        "<meta name=\"viewport\" content=\"width=device-width\">\n"
        "<meta name=\"color-scheme\" content=\"light dark\">\n"
        "<title>{}</title>\n<style>{}</style>\n</head>\n<body>\n",
        kPageScriptHash, markupText(titleOf(contents)), kPageStyle);
    html += header(contents) + findingsSection(contents) + pictureSection(contents) +
            nodesSection(contents) + answersSection(contents);
    return html + fmt::format("<script>{}</script>\n</body>\n</html>\n", kPageScript);
}

} // namespace sysconfctl
