#pragma once

#include <benchmark/benchmark.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

/// The operations of one variant, each with its answer and its timed loop.
namespace bench {

/// Operation -> answer as text, in the order of the operations.
using Answers = std::vector<std::pair<std::string, std::string>>;

struct Operation {
    std::string name;
    /// The answer as text; empty function for an operation that answers nothing.
    std::function<std::string()> answer;
    std::function<void(benchmark::State&)> time;
    /// Also timed on several threads at once, as "throughput/<name>".
    bool threads = false;
};

class Suite {
public:
    void add(Operation operation) { m_operations.push_back(std::move(operation)); }
    Answers answers() const;
    /// Makes every operation known to Google Benchmark; `once`: to be run for one iteration.
    void registerAll(bool once) const;

private:
    std::vector<Operation> m_operations;
};

/// The answers of the operations that `fill` adds, given by a process of their own, so that they
/// leave nothing behind in this one. Call before there are threads.
/// @throws std::runtime_error when that process fails.
Answers answersApart(const std::function<void(Suite&)>& fill);

/// Tells where two variants differ, "" if they answer alike.
std::string difference(const Answers& one, const Answers& other);

} // namespace bench
