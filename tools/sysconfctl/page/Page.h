// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "check/Finding.h"
#include "cli/CommandLine.h"
#include "deployment/Cluster.h"
#include "explain/Prediction.h"

#include <string>
#include <vector>

/// A deployment as one HTML page that needs nothing from outside. Everything from the files is
/// escaped as on a terminal, then for HTML.
namespace sysconfctl {

/// What the page shows. Nothing is copied.
struct PageContents {
    const Prediction& prediction;
    const Cluster& cluster;
    const CheckResult& checked;
    const Options& options;
    /// The SVG picture, with its prolog; or, if `picture` is empty, why there is none.
    std::string picture;
    std::string noPicture;
    /// What is newer than the process that was named by its id.
    std::vector<std::string> notices;
    /// The time of the page.
    std::string time;
};

std::string pageOf(const PageContents& contents);

/// Each returns a section of the page.
std::string findingsSection(const PageContents& contents);
std::string pictureSection(const PageContents& contents);
std::string nodesSection(const PageContents& contents);
std::string answersSection(const PageContents& contents);

} // namespace sysconfctl
