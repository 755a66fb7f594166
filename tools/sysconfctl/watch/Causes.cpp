// SPDX-License-Identifier: Apache-2.0
#include "watch/Causes.h"

#include "render/Text.h"

#include <config/FileText.h>

#include <QuarnCommonUtils_i.h>

#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <optional>
#include <set>
#include <utility>

namespace sysconfctl {
namespace {

/// How long a cause is reported with changes; longer than the delay and repetition of an event.
constexpr std::chrono::seconds kRecent{10};

bool sameText(const SourceFile& file, const std::optional<std::string>& text) {
    return text && file.unreadable.empty() && file.document.text() == *text;
}

template <typename Read>
std::vector<Cause> updated(SourceFile& file, Read read) {
    if (sameText(file, Quarncommon::config::readText(file.path))) {
        return {};
    }
    SourceFile now = read();
    std::vector<Cause> causes = causesBetween(file, now);
    file = std::move(now);
    return causes;
}

} // namespace

std::vector<Cause> causesBetween(const SourceFile& before, const SourceFile& after) {
    const bool same =
        before.unreadable == after.unreadable && before.document.text() == after.document.text();
    if (same) {
        return {};
    }
    if (!after.loads) {
        return {
            {"no-longer-loads",
             fmt::format("the {} {}: {}", after.title,
                         before.loads ? "no longer loads" : "still does not load", after.trouble()),
             after.path}};
    }
    return {{before.loads ? "changed" : "loads-again",
             fmt::format("the {} {} {}", after.title, after.path,
                         before.loads ? "changed" : "loads again"),
             after.path}};
}

std::vector<Cause> addressCauses(const std::list<std::string>& addressesBefore,
                                 const std::list<std::string>& addressesAfter) {
    const std::set<std::string> before(addressesBefore.begin(), addressesBefore.end());
    const std::set<std::string> after(addressesAfter.begin(), addressesAfter.end());
    const auto without = [](const std::set<std::string>& left, const std::set<std::string>& right) {
        std::vector<std::string> texts;
        std::set_difference(left.begin(), left.end(), right.begin(), right.end(),
                            std::back_inserter(texts));
        return joined(texts, ", ");
    };
    std::vector<Cause> causes;
    if (const std::string gained = without(after, before); !gained.empty()) {
        causes.push_back({"host-addresses", "this host now carries " + gained});
    }
    if (const std::string lost = without(before, after); !lost.empty()) {
        causes.push_back({"host-addresses", "this host no longer carries " + lost});
    }
    return causes;
}

std::vector<Cause> Causes::update() {
    std::vector<Cause> causes = updated(m_sources.appConfig, readAppConfig);
    for (std::vector<Cause> more :
         {updated(m_sources.nodeList, [] { return readNodeList(); }),
          updated(m_sources.managerNodeList, [] { return readManagerNodeList(); })}) {
        std::move(more.begin(), more.end(), std::back_inserter(causes));
    }
    std::list<std::string> addresses;
    QuarnCommonUtils_i::getAllIPAddr(addresses);
    for (Cause& cause : addressCauses(m_sources.hostAddresses, addresses)) {
        causes.push_back(std::move(cause));
    }
    m_sources.hostAddresses = std::move(addresses);
    const auto now = std::chrono::system_clock::now();
    for (Cause& cause : causes) {
        cause.time = now;
    }
    std::erase_if(m_pending, [&](const Cause& earlier) {
        return std::any_of(causes.begin(), causes.end(),
                           [&](const Cause& cause) { return cause.file == earlier.file; });
    });
    m_pending.insert(m_pending.end(), causes.begin(), causes.end());
    return causes;
}

std::vector<Cause> Causes::ofChanges() {
    if (!m_pending.empty()) {
        m_last = std::exchange(m_pending, {});
    }
    std::erase_if(m_last, [now = std::chrono::system_clock::now()](const Cause& cause) {
        return now - cause.time > kRecent;
    });
    return m_last;
}

} // namespace sysconfctl
