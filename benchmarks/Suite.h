// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <benchmark/benchmark.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace bench {

/// In the order of the operations.
using Answers = std::vector<std::pair<std::string, std::string>>;

struct Operation {
    std::string name;
    /// Returns the answer as text; empty for an operation without an answer.
    std::function<std::string()> answer;
    std::function<void(benchmark::State&)> time;
    /// Also timed on several threads, as "throughput/<name>".
    bool threads = false;
};

class Suite {
public:
    void add(Operation operation) { m_operations.push_back(std::move(operation)); }
    Answers answers() const;
    /// `once` limits each operation to one iteration.
    void registerAll(bool once) const;

private:
    std::vector<Operation> m_operations;
};

/// They run in a child process, so the heap of this one is unchanged. Call before starting threads.
/// @throws std::runtime_error if the child process fails.
Answers answersApart(const std::function<void(Suite&)>& fill);

/// "" if there is none.
std::string difference(const Answers& one, const Answers& other);

} // namespace bench
