// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "check/Finding.h"
#include "cli/CommandLine.h"
#include "deployment/Cluster.h"
#include "explain/Prediction.h"

#include <string>
#include <vector>

/// One self-contained HTML page. Values from the files are escaped as on a terminal, then for HTML.
namespace sysconfctl {

struct PageContents {
    const Prediction& prediction;
    const Cluster& cluster;
    const CheckResult& checked;
    const Options& options;
    /// The SVG picture with its XML prolog; if it is empty, `noPicture` is the reason.
    std::string picture;
    std::string noPicture;
    /// What changed after the process given by --pid started.
    std::vector<std::string> notices;
    std::string time;
};

std::string pageOf(const PageContents& contents);

std::string findingsSection(const PageContents& contents);
std::string pictureSection(const PageContents& contents);
std::string nodesSection(const PageContents& contents);
std::string answersSection(const PageContents& contents);

} // namespace sysconfctl
