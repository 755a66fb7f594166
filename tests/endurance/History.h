#pragma once

#include "support/Answers.h"
#include "support/Deployment.h"
#include "support/SampleQueries.h"

#include <array>
#include <atomic>
#include <map>
#include <string>

namespace endurance {

/// The files of a deployment in one generation after the other, and what the library may answer
/// meanwhile. In every text stands its generation, and with it the node that it belongs to; the
/// process moves on to another node with each generation. One thread writes, any may ask.
class History {
public:
    /// Writes generation 1 and asks every query once, while nothing else is going on.
    History();

    /// Replaces all three files, one after the other, by renaming.
    void write(int generation);
    /// Both singletons have loaded that generation.
    void noteLoaded(int generation) { m_loaded = generation; }

    /// Both singletons answer with what they have loaded of that generation.
    bool answersAreOf(int generation) const;

    /// Asks one query, and answers what is wrong with its answer, "" when nothing is: it must be of
    /// the form of the quiet one, all of one generation, and that one which was there at some
    /// moment of the call.
    std::string wrongWith(const queries::ReaderQuery& query) const;
    /// The same for the four answers of the role reader.
    std::string wrongWithRoles() const;

private:
    /// What must have been in force when a call began.
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
