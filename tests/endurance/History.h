// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "support/Answers.h"
#include "support/Deployment.h"
#include "support/SampleQueries.h"

#include <array>
#include <atomic>
#include <map>
#include <string>

namespace endurance {

/// Writes generations of a deployment's files and checks the library's answers. Every text contains
/// its generation and its node, and each generation runs the process on another node.
class History {
public:
    /// Writes generation 1 and calls every query once.
    History();

    /// Replaces the three files by renaming.
    void write(int generation);
    void noteLoaded(int generation) { m_loaded = generation; }

    bool answersAreOf(int generation) const;

    /// "" if the answer has the form of the first one and comes from one generation of the call's
    /// time.
    std::string wrongWith(const queries::ReaderQuery& query) const;
    std::string wrongWithRoles() const;

private:
    /// Determined before the call.
    struct Floor {
        int nodeList;
        int managerNodeList;
        int loaded;
    };
    Floor floor() const { return {m_nodeList, m_managerNodeList, m_loaded}; }
    std::string judge(const std::string& name, const std::string& answer, int oldest,
                      int oldestNode) const;

    support::Deployment m_deployment;
    std::map<std::string, std::string> m_forms;
    std::atomic<int> m_begun{0};
    std::atomic<int> m_nodeList{0};
    std::atomic<int> m_managerNodeList{0};
    std::atomic<int> m_loaded{0};
};

} // namespace endurance
