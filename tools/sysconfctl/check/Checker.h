// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "check/Finding.h"

namespace sysconfctl {

/// What the checks of all files have in common.
class Checker {
public:
    explicit Checker(const Sources& read);

    const Sources& sources;
    const Loaded& loaded() const { return m_loaded; }
    std::vector<Finding> findings;

    void environment(Severity severity, std::string_view name, std::string sentence,
                     std::string hint);
    /// About a value, or about a member's name where it is one: `path` need not exist, the nearest
    /// value that does is pointed at.
    void at(const SourceFile& file, const located::Path& path, Severity severity,
            std::string_view name, std::string sentence, std::string hint = "");
    void member(const SourceFile& file, const located::Path& path, Severity severity,
                std::string_view name, std::string sentence, std::string hint = "");

    /// Members of the object that are none of the known names, but near one.
    void unknownMembers(const SourceFile& file, const located::Path& path,
                        const std::vector<std::string_view>& known);

private:
    Loaded m_loaded;
};

/// Whether a text is an IPv4 or IPv6 address.
bool isAddress(const std::string& text);

void checkFiles(Checker& checker);
void checkAppConfig(Checker& checker);
void checkNodeList(Checker& checker, const SourceFile& list);
void checkDeployment(Checker& checker);

} // namespace sysconfctl
